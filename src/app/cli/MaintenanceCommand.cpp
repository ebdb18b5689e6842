#include "app/cli/MaintenanceCommand.h"

#include <mutex>

#include "app/BXSyncTopMenu.h"
#include "app/ServiceStatus.h"
#include "app/SyncTaskRun.h"
#include "app/cli/Cancellation.h"
#include "app/cli/Console.h"
#include "app/cli/NamedConfigurations.h"
#include "app/cli/RunLocking.h"
#include "app/cli/TerminalConfirm.h"
#include "app/cli/TerminalLogin.h"
#include "config/BXSyncConfigManager.h"
#include "config/BXSyncGlobalConf.h"
#include "config/BXSyncTask.h"
#include "platform/RunLoop.h"

namespace tidemark::cli {

namespace {

ExitStatus exitStatus(SequenceOutcome outcome)
{
    switch (outcome) {
    case SequenceOutcome::done:
        return ExitStatus::done;
    case SequenceOutcome::someItemsFailed:
        return ExitStatus::itemsFailed;
    case SequenceOutcome::listupFailed:
        return ExitStatus::listing;
    case SequenceOutcome::cancelled:
        return ExitStatus::cancelled;
    case SequenceOutcome::loginFailed:
        return ExitStatus::connection;
    case SequenceOutcome::refusedAlreadyRunning:
        return ExitStatus::busy;
    }
    return ExitStatus::done;
}

ExitStatus exitStatus(BXSyncMaintenanceMenu::Outcome outcome)
{
    switch (outcome) {
    case BXSyncMaintenanceMenu::Outcome::done:
        return ExitStatus::done;
    case BXSyncMaintenanceMenu::Outcome::refused:
        return ExitStatus::busy;
    case BXSyncMaintenanceMenu::Outcome::declined:
        return ExitStatus::cancelled;
    case BXSyncMaintenanceMenu::Outcome::stopped:
        return ExitStatus::itemsFailed;
    }
    return ExitStatus::done;
}

/// The operations' front end on a terminal.
class MaintenanceFrontEnd final : public FrontEnd
{
public:
    explicit MaintenanceFrontEnd(CommandContext& context) : context_(context), login_(context) {}

    bool loginDialog(BXSyncConf& conf, LoginReason reason) override { return login_.mend(conf, reason); }
    void runMainLoopUntil(const std::function<bool()>& done) override { loop_->runUntil(done); }
    void wakeMainLoop() override { loop_->wake(); }
    void taskDidEnd(const BXSyncTask& task, SequenceOutcome outcome) override
    {
        std::lock_guard lock(mutex_);
        status_ = graver(status_, exitStatus(outcome));
        context_.console.notice(task.name + ": " + outcomeWords(outcome));
    }
    ExitStatus status() const
    {
        std::lock_guard lock(mutex_);
        return status_;
    }

private:
    CommandContext& context_;
    TerminalLogin login_;
    const std::shared_ptr<RunLoop> loop_ = RunLoop::current();
    mutable std::mutex mutex_; // guards status_
    ExitStatus status_ = ExitStatus::done;
};

} // namespace

ExitStatus run(const Maintain& command, BXSyncConfigManager& store, CommandContext& context)
{
    const auto chosen = chosenConfigurations(command.names, store, context.console);
    if (!chosen) return chosen.error();
    std::vector<std::string> names;
    for (const auto& conf : *chosen) {
        if (const auto lock = lockRuns(conf->syncinfoPath(), conf->name(), context); !lock) return lock.error();
        names.push_back(conf->name());
    }
    MaintenanceFrontEnd frontEnd(context);
    TerminalConfirm confirm(context, {{}, {}, true});
    auto& settings = BXSyncGlobalConf::getInstance();
    BXSyncProgressModel progress(context.clock);
    const SyncTaskRun::Outside runs{store, settings, progress, &confirm};
    BXSyncTopMenu topMenu({store, settings, progress, frontEnd, context.clock,
                           [&runs](const BXSyncTask& task) { return std::make_shared<SyncTaskRun>(task, runs); }});
    const Cancellation::Handler onCancel(context.cancellation, [&progress] { progress.cancelSync(); });
    BXSyncMaintenanceMenu maintenance(topMenu, store, frontEnd);
    const auto outcome = maintenance.execute(command.operation, names, command.yes);
    frontEnd.runMainLoopUntil([&topMenu] { return !topMenu.syncExecuting(); });
    return graver(exitStatus(outcome), frontEnd.status());
}

} // namespace tidemark::cli
