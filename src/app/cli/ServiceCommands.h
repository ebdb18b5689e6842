#pragma once

#include "app/cli/CommandContext.h"
#include "app/cli/Commands.h"
#include "app/cli/ExitStatus.h"

namespace tidemark {
class BXSyncConfigManager;
}

namespace tidemark::cli {

/// "run": serves until it is told to end; refuses where another program serves the same configuration directory.
ExitStatus run(const Serve& command, BXSyncConfigManager& store, CommandContext& context);
/// "status": what a running service does.
ExitStatus run(const ShowStatus& command, BXSyncConfigManager& store, CommandContext& context);

} // namespace tidemark::cli
