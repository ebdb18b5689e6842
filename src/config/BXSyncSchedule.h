#pragma once

#include <compare>
#include <string>
#include <string_view>
#include <vector>

namespace tidemark {

/// One entry of a configuration's weekly timetable.
class BXSyncSchedule
{
public:
    BXSyncSchedule() = default;
    BXSyncSchedule(int week, int hour, int minute) : week_(week), hour_(hour), minute_(minute) {}
    /// "week:hour:minute"; any other number of parts gives the default entry, a part that is no number counts as 0.
    explicit BXSyncSchedule(std::string_view text);

    /// -1 every day, 1 Sunday to 7 Saturday.
    long week() const { return week_; }
    void setWeek(long week) { week_ = week; }
    /// -1 every hour, or 0 to 23.
    long hour() const { return hour_; }
    void setHour(long hour) { hour_ = hour; }
    long minute() const { return minute_; }
    void setMinute(long minute) { minute_ = minute; }
    /// Has fired in the current hour; kept in memory only.
    bool executed() const { return executed_; }
    void setExecuted(bool executed) { executed_ = executed; }

    std::string saveString() const;
    /// For people, in the user's language.
    std::string showString() const;
    /// Copies week, hour and minute.
    void setScheduleValue(const BXSyncSchedule& other);
    /// -1 for week or hour, on either side, agrees with every value.
    bool matchUpWeek(long week, long hour, long minute) const;
    /// By week, hour and minute; -1 sorts first.
    std::strong_ordering compare(const BXSyncSchedule& other) const;
    static std::vector<BXSyncSchedule> sortSchedule(std::vector<BXSyncSchedule> schedules);

private:
    long week_ = -1;
    long hour_ = -1;
    long minute_ = 0;
    bool executed_ = false;
};

} // namespace tidemark
