#include "devserver/Ranges.h"

#include "devserver/Text.h"

#include <algorithm>

namespace devserver {

namespace {

// What follows the unit; nothing when the unit is another.
std::optional<std::string_view> withoutUnit(std::string_view header, std::string_view separators)
{
    header = trimmed(header);
    if (header.size() < 6 || !equalIgnoringCase(header.substr(0, 5), "bytes")) return {};
    if (separators.find(header[5]) == std::string_view::npos) return {};
    return trimmed(header.substr(6));
}

RangeAnswer suffixRange(std::string_view digits, std::uint64_t size)
{
    const auto length = parseNumber(digits);
    if (!length) return {};
    if (*length == 0 || size == 0) return {RangeKind::Unsatisfiable, {}};
    const auto taken = std::min(*length, size);
    return {RangeKind::Part, {size - taken, taken}};
}

} // namespace

RangeAnswer parseRange(std::string_view header, std::uint64_t size, bool lenient)
{
    const auto text = withoutUnit(header, lenient ? "= " : "=");
    if (!text) return {};
    const auto dash = text->find('-');
    if (dash == std::string_view::npos) return {};
    if (dash == 0) return suffixRange(text->substr(1), size);
    const auto first = parseNumber(text->substr(0, dash));
    const auto lastText = text->substr(dash + 1);
    const auto last = lastText.empty() ? std::optional(UINT64_MAX) : parseNumber(lastText);
    if (!first || !last || *last < *first) return {};
    if (*first >= size) return {RangeKind::Unsatisfiable, {}};
    return {RangeKind::Part, {*first, std::min(*last, size - 1) - *first + 1}};
}

std::optional<ByteRange> parseClosedRange(std::string_view header)
{
    const auto text = withoutUnit(header, "= ");
    if (!text) return {};
    const auto dash = text->find('-');
    if (dash == std::string_view::npos) return {};
    const auto first = parseNumber(text->substr(0, dash));
    const auto last = parseNumber(text->substr(dash + 1));
    if (!first || !last || *last < *first || *last == UINT64_MAX) return {};
    return ByteRange{*first, *last - *first + 1};
}

std::optional<ContentRange> parseContentRange(std::string_view header)
{
    const auto slash = header.rfind('/');
    if (slash == std::string_view::npos) return {};
    const auto range = parseClosedRange(header.substr(0, slash));
    if (!range) return {};
    const auto totalText = trimmed(header.substr(slash + 1));
    if (totalText == "*") return ContentRange{*range, {}};
    const auto total = parseNumber(totalText);
    if (!total || *total < range->first + range->length) return {};
    return ContentRange{*range, total};
}

} // namespace devserver
