#include "davclient/ASOffsetInputStream.h"

#include <algorithm>
#include <array>

#include "Logger/BXLogger.h"

namespace tidemark {

bool ASOffsetInputStream::skip()
{
    std::array<std::byte, 8192> dropped;
    for (std::uint64_t left = offset_; left > 0;) {
        const auto wanted = std::span(dropped).first(std::min<std::uint64_t>(left, dropped.size()));
        const std::int64_t count = source_->read(wanted);
        if (count <= 0) {
            BXLogger::getLogger()->debug(readErrorText);
            return false;
        }
        left -= static_cast<std::uint64_t>(count);
    }
    return true;
}

} // namespace tidemark
