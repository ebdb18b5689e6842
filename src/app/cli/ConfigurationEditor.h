#pragma once

#include <string>
#include <vector>

#include "app/ConfigurationInput.h"
#include "app/cli/CommandContext.h"
#include "app/cli/Commands.h"

namespace tidemark {
class BXSyncConf;
class BXSyncConfigManager;
} // namespace tidemark

namespace tidemark::cli {

/// Checks every option, then writes them into `conf`; with an error nothing of `conf` is changed. Reads the password
/// from its source, or asks for it on a terminal where a user was given without one. A configuration that is paired
/// with another folder forgets what it knows of its files: that knowledge would make the files of the new folder look
/// deleted.
Checked<void> applyOptions(const ConfigurationOptions& options, BXSyncConf& conf, CommandContext& context);

/// What a person should know about `conf`, one sentence each.
std::vector<std::string> warningSentences(const BXSyncConf& conf, const BXSyncConfigManager& store);

} // namespace tidemark::cli
