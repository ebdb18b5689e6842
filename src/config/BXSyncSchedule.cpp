#include "config/BXSyncSchedule.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "platform/Localization.h"

namespace tidemark {

namespace {

constexpr std::string_view table = "Schedule";
constexpr std::size_t partCount = 3;

std::vector<std::string_view> split(std::string_view text)
{
    std::vector<std::string_view> parts;
    for (auto at = text.find(':'); at != std::string_view::npos; at = text.find(':')) {
        parts.push_back(text.substr(0, at));
        text.remove_prefix(at + 1);
    }
    parts.push_back(text);
    return parts;
}

/// The number that the text begins with, after blanks; 0 for none.
long integerValue(std::string_view text)
{
    text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
    if (text.starts_with('+')) text.remove_prefix(1);
    long value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

std::string_view weekKey(long week)
{
    constexpr std::array<std::string_view, 7> keys{"SUNDAY",   "MONDAY", "TUESDAY", "WEDNESDAY",
                                                   "THURSDAY", "FRIDAY", "SATURDAY"};
    return week >= 1 && week <= 7 ? keys[static_cast<std::size_t>(week - 1)] : "EVERYDAY";
}

/// `format` with its first "%ld" (or "%02ld" and the like) replaced by the number.
std::string withNumber(const std::string& format, long number)
{
    const auto begin = format.find('%');
    const auto end = begin == std::string::npos ? begin : format.find('d', begin);
    if (end == std::string::npos) return format;
    const std::string_view flags = std::string_view(format).substr(begin + 1);
    const auto width = static_cast<std::size_t>(std::clamp(integerValue(flags), 0L, 9L));
    auto digits = std::to_string(number);
    if (digits.size() < width) digits.insert(0, width - digits.size(), flags.starts_with('0') ? '0' : ' ');
    return format.substr(0, begin) + digits + format.substr(end + 1);
}

} // namespace

BXSyncSchedule::BXSyncSchedule(std::string_view text)
{
    const auto parts = split(text);
    if (parts.size() != partCount) return;
    week_ = integerValue(parts[0]);
    hour_ = integerValue(parts[1]);
    minute_ = integerValue(parts[2]);
}

std::string BXSyncSchedule::saveString() const
{
    return std::to_string(week_) + ":" + std::to_string(hour_) + ":" + std::to_string(minute_);
}

std::string BXSyncSchedule::showString() const
{
    const auto week = Localization::text(table, weekKey(week_));
    const auto hour =
        hour_ < 0 ? Localization::text(table, "HOURLY") : withNumber(Localization::text(table, "OCLOCK"), hour_);
    return week + " " + hour + " " + withNumber(Localization::text(table, "MINUTES"), minute_);
}

void BXSyncSchedule::setScheduleValue(const BXSyncSchedule& other)
{
    week_ = other.week_;
    hour_ = other.hour_;
    minute_ = other.minute_;
}

bool BXSyncSchedule::matchUpWeek(long week, long hour, long minute) const
{
    if (week != -1 && week_ != -1 && week != week_) return false;
    if (hour != -1 && hour_ != -1 && hour != hour_) return false;
    return minute == minute_;
}

std::strong_ordering BXSyncSchedule::compare(const BXSyncSchedule& other) const
{
    if (const auto byWeek = week_ <=> other.week_; byWeek != 0) return byWeek;
    if (const auto byHour = hour_ <=> other.hour_; byHour != 0) return byHour;
    return minute_ <=> other.minute_;
}

std::vector<BXSyncSchedule> BXSyncSchedule::sortSchedule(std::vector<BXSyncSchedule> schedules)
{
    std::stable_sort(schedules.begin(), schedules.end(),
                     [](const BXSyncSchedule& a, const BXSyncSchedule& b) { return a.compare(b) < 0; });
    return schedules;
}

} // namespace tidemark
