#pragma once

#include <vector>

#include "config/BXSyncSchedule.h"
#include "platform/Dates.h"

namespace tidemark {

/// Finds the schedules that are due, once each hour at the most. Main thread.
class ScheduleCheck
{
public:
    /// Takes the time of a check. The first check, and the first one in another hour than the last, begin a new hour.
    void beginCheck(const dates::CalendarFields& now);

    /// Marks those that are due as executed, and in a new hour forgets the marks first; true when one is due.
    bool fire(std::vector<BXSyncSchedule>& schedules) const;

private:
    dates::CalendarFields now_;
    int hourCount_ = -1;
    bool newHour_ = false;
};

} // namespace tidemark
