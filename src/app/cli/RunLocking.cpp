#include "app/cli/RunLocking.h"

#include "app/cli/Console.h"

namespace tidemark::cli {

tl::expected<std::unique_ptr<BXSyncRunLock>, ExitStatus> lockRuns(const std::string& syncInfoPath,
                                                                  const std::string& name, CommandContext& context)
{
    auto lock = BXSyncRunLock::tryAcquire(syncInfoPath);
    if (!lock) {
        context.console.error("the configuration '" + name + "' cannot be locked: " + lock.error().description());
        return tl::unexpected(ExitStatus::configuration);
    }
    if (!*lock) {
        context.console.error("a run of '" + name + "' is under way");
        return tl::unexpected(ExitStatus::busy);
    }
    return std::move(*lock);
}

} // namespace tidemark::cli
