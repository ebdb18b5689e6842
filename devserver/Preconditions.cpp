#include "devserver/Preconditions.h"

#include "devserver/Text.h"

#include <algorithm>

namespace devserver {

namespace {

bool names(std::string_view header, const FileStatus& status)
{
    return std::ranges::any_of(
        split(header, ','), [&](std::string_view tag) { return trimmed(tag) == "*" || trimmed(tag) == status.etag; });
}

} // namespace

int readPrecondition(const Request& request, const FileStatus& status)
{
    if (const auto match = request.header("If-Match"); match && !names(*match, status)) return 412;
    if (const auto none = request.header("If-None-Match"); none && names(*none, status)) return 304;
    return 0;
}

int writePrecondition(const Request& request, const std::optional<FileStatus>& status)
{
    if (const auto match = request.header("If-Match"); match && (!status || !names(*match, *status))) return 412;
    if (const auto none = request.header("If-None-Match"); none && status && names(*none, *status)) return 412;
    return 0;
}

} // namespace devserver
