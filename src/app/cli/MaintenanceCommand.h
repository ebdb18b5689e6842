#pragma once

#include "app/cli/CommandContext.h"
#include "app/cli/Commands.h"
#include "app/cli/ExitStatus.h"

namespace tidemark {
class BXSyncConfigManager;
}

namespace tidemark::cli {

/// "reset", "download-all" and "upload-all": asks first; a sync follows the latter two.
ExitStatus run(const Maintain& command, BXSyncConfigManager& store, CommandContext& context);

} // namespace tidemark::cli
