#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace tidemark::dates {

/// Seconds since 1 January 1970 UTC with fractions, the form that records carry.
using Seconds = double;
using Time = std::chrono::system_clock::time_point;

Time fromSeconds(Seconds seconds);
Seconds toSeconds(Time time);

/// "EEE, dd MMM yyyy HH:mm:ss ZZZ" with English names; the zone is "GMT", "UTC" or an offset such as +0000.
std::optional<Time> parseHttpDate(std::string_view text);
/// The same with the zone written +0000.
std::string formatHttpDate(Time time);
/// "yyyy-MM-dd'T'HH:mm:ss'Z'".
std::optional<Time> parseIsoDate(std::string_view text);
std::string formatIsoDate(Time time);

/// The user's zone; `pattern` knows yyyy MM dd HH mm ss SSS and quoted text.
std::string formatLocal(Time time, std::string_view pattern);
/// The same in GMT.
std::string formatGmt(Time time, std::string_view pattern);

struct CalendarFields
{
    int year = 1970;
    int month = 1;
    int day = 1;
    /// 1 Sunday to 7 Saturday.
    int weekday = 5;
    int hour = 0;
    int minute = 0;
    int second = 0;
};

/// Gregorian calendar in the user's zone.
CalendarFields localFields(Time time);

} // namespace tidemark::dates
