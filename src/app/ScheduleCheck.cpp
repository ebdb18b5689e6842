#include "app/ScheduleCheck.h"

namespace tidemark {

void ScheduleCheck::beginCheck(const dates::CalendarFields& now)
{
    now_ = now;
    newHour_ = now.hour != hourCount_;
    hourCount_ = now.hour;
}

bool ScheduleCheck::fire(std::vector<BXSyncSchedule>& schedules) const
{
    bool due = false;
    for (auto& schedule : schedules) {
        if (newHour_) schedule.setExecuted(false);
        if (schedule.executed() || !schedule.matchUpWeek(now_.weekday, now_.hour, now_.minute)) continue;
        schedule.setExecuted(true);
        due = true;
    }
    return due;
}

} // namespace tidemark
