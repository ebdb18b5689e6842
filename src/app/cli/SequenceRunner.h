#pragma once

#include <memory>
#include <vector>

#include "app/cli/CommandContext.h"
#include "app/cli/Outcome.h"
#include "app/cli/RunProgress.h"
#include "app/cli/TerminalConfirm.h"

namespace tidemark {
class BXSyncConf;
}

namespace tidemark::cli {

/// Runs configurations strictly one after another on a thread of its own: the sign-in, then the listing, then, unless
/// only the list is wanted, the sync. A person's cancellation ends the whole sequence; every other outcome ends its own
/// configuration only. One run() per object.
class SequenceRunner
{
public:
    struct Plan
    {
        bool listsOnly = false;
        ConfirmOptions confirm;
    };

    SequenceRunner(CommandContext& context, Plan plan);

    /// One outcome per configuration, in order. Serves the calling thread's RunLoop meanwhile, and shows the progress
    /// from it.
    std::vector<Outcome> run(const std::vector<std::shared_ptr<BXSyncConf>>& configurations);

private:
    void runOne(const std::shared_ptr<BXSyncConf>& conf, Outcome& outcome);
    void runSignedIn(const std::shared_ptr<BXSyncConf>& conf, Outcome& outcome);
    bool isCancelled() const;
    void showProgress();

    CommandContext& context_;
    const Plan plan_;
    RunProgress progress_;
    /// A person chose to cancel, so nothing more is started. The sync thread's.
    bool personCancelled_ = false;
};

} // namespace tidemark::cli
