#pragma once

#include "app/cli/CommandContext.h"
#include "app/cli/Commands.h"
#include "app/cli/ExitStatus.h"

namespace tidemark {
class BXSyncConfigManager;
}

namespace tidemark::cli {

/// "config …" over `store`. A name that there is none of, or one that is taken, is ExitStatus::configuration; an option
/// that does not hold is wrong usage; a change of a configuration whose run is under way is ExitStatus::busy.
ExitStatus run(const ConfigCreate& command, BXSyncConfigManager& store, CommandContext& context);
ExitStatus run(const ConfigList& command, BXSyncConfigManager& store, CommandContext& context);
ExitStatus run(const ConfigShow& command, BXSyncConfigManager& store, CommandContext& context);
ExitStatus run(const ConfigSet& command, BXSyncConfigManager& store, CommandContext& context);
ExitStatus run(const ConfigRename& command, BXSyncConfigManager& store, CommandContext& context);
ExitStatus run(const ConfigDelete& command, BXSyncConfigManager& store, CommandContext& context);

} // namespace tidemark::cli
