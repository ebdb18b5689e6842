#pragma once

#include "app/cli/CommandContext.h"
#include "app/cli/Commands.h"
#include "app/cli/ExitStatus.h"

namespace tidemark {
class BXSyncConfigManager;
}

namespace tidemark::cli {

/// "config schedule NAME …": the timetable of one configuration.
ExitStatus run(const ScheduleAdd& command, BXSyncConfigManager& store, CommandContext& context);
ExitStatus run(const ScheduleList& command, BXSyncConfigManager& store, CommandContext& context);
ExitStatus run(const ScheduleRemove& command, BXSyncConfigManager& store, CommandContext& context);

} // namespace tidemark::cli
