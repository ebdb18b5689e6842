#pragma once

#include <memory>
#include <string>

#include <tl/expected.hpp>

#include "SyncLibrary/BXSyncRunLock.h"
#include "app/cli/CommandContext.h"
#include "app/cli/ExitStatus.h"

namespace tidemark::cli {

/// Keeps runs of a configuration, of whichever program, away while it is held; says so where one is under way.
/// `syncInfoPath` is the configuration's sync-info file.
tl::expected<std::unique_ptr<BXSyncRunLock>, ExitStatus> lockRuns(const std::string& syncInfoPath,
                                                                  const std::string& name, CommandContext& context);

} // namespace tidemark::cli
