#pragma once

#include <functional>
#include <memory>

#include "app/cli/CommandContext.h"
#include "app/cli/ExitStatus.h"

namespace tidemark {
class BXSyncConf;
}

namespace tidemark::cli {

/// Signs in to the server of `conf` on the calling thread, whose RunLoop it runs; says why it failed. done, connection
/// or cancelled.
ExitStatus signIn(const std::shared_ptr<BXSyncConf>& conf, CommandContext& context);

/// Runs `work` on a thread named "SyncThread" while the calling thread serves its RunLoop, and calls `look` there every
/// 0.2 s. Returns when the work is done; what it throws is thrown here.
void runBeside(std::function<void()> work, std::function<void()> look);

} // namespace tidemark::cli
