#include "davclient/ASSteadyInputStream.h"

namespace tidemark {

bool ASSteadyInputStream::open()
{
    begin();
    return source_->open();
}

bool ASSteadyInputStream::rewind()
{
    begin();
    return source_->rewind();
}

void ASSteadyInputStream::begin()
{
    before_ = fs::attributes(path_);
    count_ = 0;
    changed_ = false;
}

std::int64_t ASSteadyInputStream::read(std::span<std::byte> buffer)
{
    const std::int64_t read = changed_ ? -1 : source_->read(buffer);
    if (read <= 0) return read;
    count_ += static_cast<std::uint64_t>(read);
    changed_ = count_ >= length_ && !isUnchanged();
    return changed_ ? -1 : read;
}

bool ASSteadyInputStream::isUnchanged() const
{
    const auto present = fs::attributes(path_);
    return before_ && present && present->size == before_->size && present->modified == before_->modified;
}

} // namespace tidemark
