#pragma once

#include "app/cli/CommandContext.h"
#include "app/cli/Commands.h"
#include "app/cli/ExitStatus.h"

namespace tidemark {
class BXSyncConfigManager;
}

namespace tidemark::cli {

/// "config check": the sign-in, then the check of the server folder, with the answer in words. A folder that cannot be
/// used is ExitStatus::configuration.
ExitStatus run(const ConfigCheck& command, BXSyncConfigManager& store, CommandContext& context);

} // namespace tidemark::cli
