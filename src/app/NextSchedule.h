#pragma once

#include <optional>
#include <vector>

#include "config/BXSyncSchedule.h"
#include "platform/Dates.h"

namespace tidemark {

/// When the first of `schedules` is due after `now`, to the minute, in the user's zone; nothing within the coming week
/// for entries that no clock can show, and none without entries.
std::optional<dates::Time> nextSchedule(const std::vector<BXSyncSchedule>& schedules, dates::Time now);

} // namespace tidemark
