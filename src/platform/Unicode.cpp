#include "platform/Unicode.h"

#include <utf8proc.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>

namespace tidemark {

namespace {

struct CodePoint
{
    std::int32_t value = -1; // negative: the byte at hand begins no character
    std::size_t length = 1;
};

CodePoint decodeFirst(std::string_view text)
{
    auto first = static_cast<unsigned char>(text.front());
    if (first < 0x80) return {first, 1};
    utf8proc_int32_t value = -1;
    auto length = utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                                   static_cast<utf8proc_ssize_t>(text.size()), &value);
    if (length <= 0) return {};
    return {value, static_cast<std::size_t>(length)};
}

/// Calls `visit(codePoint, bytes)` until it answers false.
template <class Visitor>
void forEachCodePoint(std::string_view text, Visitor visit)
{
    while (!text.empty()) {
        auto point = decodeFirst(text);
        if (!visit(point.value, text.substr(0, point.length))) return;
        text.remove_prefix(point.length);
    }
}

bool isControl(std::int32_t value)
{
    return (value >= 0 && value < 0x20) || (value >= 0x7f && value < 0xa0);
}

/// True for the usual letters that canonical composition leaves alone whatever stands beside them.
bool isStableUnderNfc(std::int32_t value)
{
    auto within = [value](std::int32_t first, std::int32_t last) { return value >= first && value <= last; };
    return within(0, 0x2ff) || within(0x400, 0x482) || within(0x3041, 0x3098) || within(0x309b, 0x30ff) ||
           within(0x3400, 0x9fff) || within(0xac00, 0xd7a3);
}

bool isSurelyNfc(std::string_view text)
{
    bool stable = true;
    forEachCodePoint(text, [&](std::int32_t value, std::string_view) { return stable = isStableUnderNfc(value); });
    return stable;
}

std::string transform(std::string_view text, int options)
{
    utf8proc_uint8_t* mapped = nullptr;
    auto length =
        utf8proc_map(reinterpret_cast<const utf8proc_uint8_t*>(text.data()), static_cast<utf8proc_ssize_t>(text.size()),
                     &mapped, static_cast<utf8proc_option_t>(options));
    std::unique_ptr<utf8proc_uint8_t, decltype(&std::free)> owner(mapped, &std::free);
    if (length < 0) return std::string(text);
    return {reinterpret_cast<const char*>(mapped), static_cast<std::size_t>(length)};
}

void appendHex(std::string& text, unsigned value)
{
    constexpr char digits[] = "0123456789ABCDEF";
    text += "\\x";
    text += digits[value >> 4 & 15];
    text += digits[value & 15];
}

} // namespace

bool isUtf8(std::string_view bytes)
{
    bool valid = true;
    forEachCodePoint(bytes, [&](std::int32_t value, std::string_view) { return valid = value >= 0; });
    return valid;
}

std::string toNfc(std::string_view utf8)
{
    if (isSurelyNfc(utf8)) return std::string(utf8);
    return transform(utf8, UTF8PROC_STABLE | UTF8PROC_COMPOSE);
}

bool hasDecomposedForm(std::string_view utf8)
{
    if (std::ranges::all_of(utf8, [](char c) { return static_cast<unsigned char>(c) < 0x80; })) return false;
    return transform(utf8, UTF8PROC_STABLE | UTF8PROC_DECOMPOSE) != toNfc(utf8);
}

std::string caseFold(std::string_view utf8)
{
    return transform(utf8, UTF8PROC_STABLE | UTF8PROC_COMPOSE | UTF8PROC_CASEFOLD);
}

std::size_t codePointCount(std::string_view utf8)
{
    std::size_t count = 0;
    forEachCodePoint(utf8, [&](std::int32_t, std::string_view) { return ++count, true; });
    return count;
}

std::string_view utf8Prefix(std::string_view utf8, std::size_t bytes)
{
    if (utf8.size() <= bytes) return utf8;
    auto isContinuation = [](char c) { return (static_cast<unsigned char>(c) & 0xc0) == 0x80; };
    constexpr std::size_t longestTail = 3;
    auto end = bytes;
    while (end > 0 && bytes - end < longestTail && isContinuation(utf8[end]))
        --end;
    return utf8.substr(0, isContinuation(utf8[end]) ? bytes : end);
}

std::string escapeControls(std::string_view text)
{
    std::string shown;
    shown.reserve(text.size());
    forEachCodePoint(text, [&](std::int32_t value, std::string_view bytes) {
        if (value < 0)
            appendHex(shown, static_cast<unsigned char>(bytes.front()));
        else if (isControl(value))
            appendHex(shown, static_cast<unsigned>(value));
        else
            shown += bytes;
        return true;
    });
    return shown;
}

} // namespace tidemark
