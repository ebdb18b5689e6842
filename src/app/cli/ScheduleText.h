#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "config/BXSyncSchedule.h"

namespace tidemark::cli {

/// How a schedule is written on the command line: "mon 9:00", "daily 18:30" or "hourly :15". Nothing for anything else.
std::optional<BXSyncSchedule> parseSchedule(std::string_view text);
/// The same form for a schedule.
std::string scheduleText(const BXSyncSchedule& schedule);

} // namespace tidemark::cli
