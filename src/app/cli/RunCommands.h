#pragma once

#include "app/cli/CommandContext.h"
#include "app/cli/Commands.h"
#include "app/cli/ExitStatus.h"

namespace tidemark {
class BXSyncConfigManager;
}

namespace tidemark::cli {

/// "sync" and "list" over the configurations of `store`.
ExitStatus run(const Sync& command, BXSyncConfigManager& store, CommandContext& context);
ExitStatus run(const List& command, BXSyncConfigManager& store, CommandContext& context);

} // namespace tidemark::cli
