#include "app/cli/ScheduleText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>

#include "platform/Unicode.h"

namespace tidemark::cli {

namespace {

constexpr std::array weekdays{"sun", "mon", "tue", "wed", "thu", "fri", "sat"};
constexpr std::string_view daily = "daily";
constexpr std::string_view hourly = "hourly";
constexpr int every = -1;

std::optional<int> number(std::string_view digits, int highest)
{
    int value = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (digits.empty() || digits.size() > 2 || error != std::errc() || end != digits.data() + digits.size() ||
        value < 0 || value > highest)
        return std::nullopt;
    return value;
}

/// -1 for every day; nothing for a word that is no day.
std::optional<int> weekdayOf(std::string_view word)
{
    if (word == daily) return every;
    const auto found = std::find(weekdays.begin(), weekdays.end(), word);
    if (found == weekdays.end()) return std::nullopt;
    return static_cast<int>(found - weekdays.begin()) + 1;
}

} // namespace

std::optional<BXSyncSchedule> parseSchedule(std::string_view text)
{
    const std::string folded = caseFold(text);
    const std::string_view words = folded;
    const auto blank = words.find(' ');
    if (blank == std::string_view::npos) return std::nullopt;
    const auto day = words.substr(0, blank);
    const auto time = words.substr(std::min(words.find_first_not_of(' ', blank), words.size()));
    const auto colon = time.find(':');
    if (colon == std::string_view::npos) return std::nullopt;
    const auto minute = number(time.substr(colon + 1), 59);
    if (!minute) return std::nullopt;
    if (day == hourly) return colon == 0 ? std::optional(BXSyncSchedule(every, every, *minute)) : std::nullopt;
    const auto week = weekdayOf(day);
    const auto hour = number(time.substr(0, colon), 23);
    if (!week || !hour) return std::nullopt;
    return BXSyncSchedule(*week, *hour, *minute);
}

std::string scheduleText(const BXSyncSchedule& schedule)
{
    std::array<char, 64> time{};
    if (schedule.hour() < 0) {
        std::snprintf(time.data(), time.size(), " :%02ld", schedule.minute());
        return std::string(hourly) + time.data();
    }
    std::snprintf(time.data(), time.size(), " %ld:%02ld", schedule.hour(), schedule.minute());
    const bool isWeekday = schedule.week() >= 1 && schedule.week() <= static_cast<long>(weekdays.size());
    return (isWeekday ? std::string(weekdays[static_cast<std::size_t>(schedule.week() - 1)]) : std::string(daily)) +
           time.data();
}

} // namespace tidemark::cli
