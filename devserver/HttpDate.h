#pragma once

#include <ctime>
#include <optional>
#include <string>
#include <string_view>

namespace devserver {

// "Sun, 06 Nov 1994 08:49:37 GMT"
std::string httpDate(std::time_t time);
// "1994-11-06T08:49:37Z"
std::string isoDate(std::time_t time);
// Reads the first form, with a zone "GMT", "UTC" or "+hhmm"/"-hhmm".
std::optional<std::time_t> parseHttpDate(std::string_view text);

} // namespace devserver
