#include "app/cli/SequenceRunner.h"

#include "SyncLibrary/BXSyncManager.h"
#include "app/cli/Cancellation.h"
#include "app/cli/Console.h"
#include "app/cli/ProgressLine.h"
#include "app/cli/SignIn.h"
#include "app/cli/Terminal.h"
#include "config/BXSyncConf.h"
#include "platform/FileSystem.h"

namespace tidemark::cli {

namespace {

/// Lets the progress follow the manager while this object lives.
class MeteredManager : public BXSyncTransferMeter
{
public:
    MeteredManager(BXSyncManager& manager, BXSyncProgressModel& progress) : manager_(manager), progress_(progress)
    {
        progress_.setTransferMeter(this);
    }
    ~MeteredManager() override { progress_.setTransferMeter(nullptr); }
    MeteredManager(const MeteredManager&) = delete;
    MeteredManager& operator=(const MeteredManager&) = delete;

    std::int64_t sentSize() const override { return manager_.sentSize(); }
    std::int64_t transSize() const override { return manager_.transSize(); }

private:
    BXSyncManager& manager_;
    BXSyncProgressModel& progress_;
};

bool isKnown(SyncMode mode)
{
    return mode == SyncMode::twoWay || mode == SyncMode::uploadOnly || mode == SyncMode::downloadOnly;
}

/// Why `conf` cannot be run at all. A folder that is not there is not an empty one: taking it so would delete
/// everything on the server.
std::optional<std::string> unfitness(const BXSyncConf& conf)
{
    if (conf.url().empty()) return "its server folder is no http or https URL: " + conf.serverURL();
    if (!isKnown(conf.mode()))
        return "its mode is none that there is: " + std::to_string(static_cast<int>(conf.mode()));
    if (!fs::isFolder(conf.localPath())) return "its local folder is not there: " + conf.localPath();
    return std::nullopt;
}

std::vector<SyncItem> itemsOf(const BXSyncManager& manager)
{
    std::vector<SyncItem> items;
    const auto& errors = manager.report().itemErrors();
    for (const auto* record : manager.modifiedItems()) {
        auto item = syncItem(*record);
        if (!item) continue;
        if (const auto error = errors.find(item->path); error != errors.end() && !item->finished)
            item->error = errorText(error->second);
        items.push_back(std::move(*item));
    }
    return items;
}

ExitStatus statusOf(BXSyncRunOutcome outcome)
{
    switch (outcome) {
    case BXSyncRunOutcome::finished:
        return ExitStatus::done;
    case BXSyncRunOutcome::someItemsFailed:
    case BXSyncRunOutcome::aborted:
    case BXSyncRunOutcome::running:
        return ExitStatus::itemsFailed;
    case BXSyncRunOutcome::listupFailed:
        return ExitStatus::listing;
    case BXSyncRunOutcome::connectionFailed:
        return ExitStatus::connection;
    case BXSyncRunOutcome::cancelled:
        return ExitStatus::cancelled;
    case BXSyncRunOutcome::alreadyRunning:
        return ExitStatus::busy;
    }
    return ExitStatus::itemsFailed;
}

} // namespace

SequenceRunner::SequenceRunner(CommandContext& context, Plan plan) : context_(context), plan_(plan), progress_(context)
{
}

std::vector<Outcome> SequenceRunner::run(const std::vector<std::shared_ptr<BXSyncConf>>& configurations)
{
    std::vector<Outcome> outcomes;
    progress_.setConnectCount(static_cast<std::int64_t>(configurations.size()));
    const auto work = [&] {
        for (const auto& conf : configurations) {
            progress_.setFinishConnectCount(static_cast<std::int64_t>(outcomes.size()));
            outcomes.push_back({conf->name(), ExitStatus::cancelled, {}});
            if (!isCancelled()) runOne(conf, outcomes.back());
        }
    };
    runBeside(work, [&] { showProgress(); });
    context_.console.progress("");
    return outcomes;
}

void SequenceRunner::runOne(const std::shared_ptr<BXSyncConf>& conf, Outcome& outcome)
{
    const double done = progress_.finishedPercent();
    progress_.setPercentProgress(done, conf->name());
    if (const auto reason = unfitness(*conf)) {
        context_.console.error(conf->name() + ": " + *reason);
        outcome.status = ExitStatus::configuration;
        return;
    }
    outcome.status = signIn(conf, context_);
    if (outcome.status == ExitStatus::done) runSignedIn(conf, outcome);
}

void SequenceRunner::runSignedIn(const std::shared_ptr<BXSyncConf>& conf, Outcome& outcome)
{
    TerminalConfirm confirm(context_, plan_.confirm);
    BXSyncManager manager(conf, plan_.confirm.skipErrors);
    manager.setConfirmDelegate(&confirm);
    manager.setProgressDelegate(&progress_);
    {
        const MeteredManager metered(manager, progress_);
        const Cancellation::Handler cancelling(context_.cancellation, [&] { manager.setCancelFlg(true); });
        (plan_.listsOnly ? manager.startListup(false) : manager.startSync())->join();
        manager.joinThreads();
    }
    outcome.items = itemsOf(manager);
    outcome.status = statusOf(manager.outcome());
    personCancelled_ = personCancelled_ || confirm.personCancelled();
    if (outcome.status == ExitStatus::busy) context_.console.error("a run of '" + conf->name() + "' is under way");
}

bool SequenceRunner::isCancelled() const
{
    return personCancelled_ || context_.cancellation.isRequested();
}

void SequenceRunner::showProgress()
{
    context_.console.progress(progressLine(progress_.snapshot(), context_.terminal.columns()));
}

} // namespace tidemark::cli
