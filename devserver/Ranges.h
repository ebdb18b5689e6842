#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace devserver {

struct ByteRange
{
    std::uint64_t first = 0;
    std::uint64_t length = 0;
};

enum class RangeKind
{
    Whole,
    Part,
    Unsatisfiable
};

struct RangeAnswer
{
    RangeKind kind = RangeKind::Whole;
    ByteRange range;
};

// What a Range header asks of a body of that size. Several ranges, and a header that is none, ask for the whole.
// `lenient` takes a blank for the "=" after the unit, as the product does.
RangeAnswer parseRange(std::string_view header, std::uint64_t size, bool lenient);

// "bytes FIRST-LAST" with "=" or a blank behind the unit: both ends must be there.
std::optional<ByteRange> parseClosedRange(std::string_view header);

struct ContentRange
{
    ByteRange range;
    std::optional<std::uint64_t> total; // nothing: "*"
};

// Reads "bytes FIRST-LAST/TOTAL"; nothing when it is none or contradicts itself.
std::optional<ContentRange> parseContentRange(std::string_view header);

} // namespace devserver
