#include "app/NextSchedule.h"

#include <algorithm>

namespace tidemark {

std::optional<dates::Time> nextSchedule(const std::vector<BXSyncSchedule>& schedules, dates::Time now)
{
    if (schedules.empty()) return std::nullopt;
    // Minute by minute, since the zone's own rules decide which minutes there are. A week and a day cover every entry.
    constexpr int minutes = 8 * 24 * 60;
    const auto start = std::chrono::floor<std::chrono::minutes>(now);
    for (int ahead = 1; ahead <= minutes; ++ahead) {
        const dates::Time candidate = start + std::chrono::minutes(ahead);
        const auto fields = dates::localFields(candidate);
        const bool due = std::any_of(schedules.begin(), schedules.end(), [&](const BXSyncSchedule& schedule) {
            return schedule.matchUpWeek(fields.weekday, fields.hour, fields.minute);
        });
        if (due) return candidate;
    }
    return std::nullopt;
}

} // namespace tidemark
