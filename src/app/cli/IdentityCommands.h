#pragma once

#include "app/cli/CommandContext.h"
#include "app/cli/Commands.h"
#include "app/cli/ExitStatus.h"

namespace tidemark {
class BXSyncConfigManager;
}

namespace tidemark::cli {

/// "identity …": the client certificates that configurations can sign in with.
ExitStatus run(const IdentityImport& command, BXSyncConfigManager& store, CommandContext& context);
ExitStatus run(const IdentityList& command, BXSyncConfigManager& store, CommandContext& context);
/// Refused while a configuration uses the identity.
ExitStatus run(const IdentityRemove& command, BXSyncConfigManager& store, CommandContext& context);

} // namespace tidemark::cli
