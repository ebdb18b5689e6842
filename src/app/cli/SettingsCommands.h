#pragma once

#include "app/cli/CommandContext.h"
#include "app/cli/Commands.h"
#include "app/cli/ExitStatus.h"

namespace tidemark {
class BXSyncGlobalConf;
}

namespace tidemark::cli {

/// "settings …" over `settings`. An unknown key and a value that a setting cannot have are wrong usage.
ExitStatus run(const SettingsList& command, BXSyncGlobalConf& settings, CommandContext& context);
ExitStatus run(const SettingsGet& command, BXSyncGlobalConf& settings, CommandContext& context);
ExitStatus run(const SettingsSet& command, BXSyncGlobalConf& settings, CommandContext& context);
ExitStatus run(const SettingsUnset& command, BXSyncGlobalConf& settings, CommandContext& context);

} // namespace tidemark::cli
