#pragma once

#include <memory>
#include <string>
#include <vector>

#include <tl/expected.hpp>

#include "app/cli/ExitStatus.h"

namespace tidemark {
class BXSyncConf;
class BXSyncConfigManager;
} // namespace tidemark

namespace tidemark::cli {

class Console;

/// The configuration of that name, read from disk; says why there is none.
tl::expected<std::shared_ptr<BXSyncConf>, ExitStatus> namedConfiguration(const std::string& name,
                                                                         BXSyncConfigManager& store, Console& console);

/// Those of the names, in their order and each once; without names every enabled one, oldest first. A missing one is
/// said and fails all.
tl::expected<std::vector<std::shared_ptr<BXSyncConf>>, ExitStatus>
chosenConfigurations(const std::vector<std::string>& names, BXSyncConfigManager& store, Console& console);

} // namespace tidemark::cli
