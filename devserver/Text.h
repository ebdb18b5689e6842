#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace devserver {

bool equalIgnoringCase(std::string_view a, std::string_view b);
std::string lowered(std::string_view text);
std::string_view trimmed(std::string_view text);
std::vector<std::string_view> split(std::string_view text, char separator);
// Decimal digits and nothing else; nothing when there is another character, no digit or an overflow.
std::optional<std::uint64_t> parseNumber(std::string_view digits);
// Shell glob; "*" matches "/" too.
bool matchesGlob(std::string_view pattern, std::string_view text, bool ignoringCase = false);

// "%XX" to bytes; nothing for an escape that is none. "+" stays.
std::optional<std::string> percentDecoded(std::string_view text);
// Escapes all but unreserved characters and "/"; `rawPlus` leaves "+" too.
std::string percentEncoded(std::string_view text, bool rawPlus = false);
std::string xmlEscaped(std::string_view text);

// The path without its last component ("/" for "/a"), and that component.
std::string_view parentPath(std::string_view path);
std::string_view lastComponent(std::string_view path);

} // namespace devserver
