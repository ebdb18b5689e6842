#include "app/SyncSequence.h"

#include <exception>

#include "Logger/BXLogger.h"
#include "SyncLibrary/BXSyncFileWatcher.h"
#include "Utils/BXTidemarkUtils.h"
#include "config/BXSyncConfigManager.h"

namespace tidemark {

namespace {

constexpr auto longestLook = std::chrono::milliseconds(200);

} // namespace

void SyncSequence::run()
{
    try {
        runTasks();
    } catch (const std::exception& exception) {
        BXLogger::globalErrorException(exception);
        BXTidemarkUtils::showErrorAlert("UNKNOWN_ERROR_OCCURRED");
        runTerminateTask();
    }
    BXTidemarkUtils::execMainThread([this] { outside_.frontEnd.hideProgress(); });
}

/// Whoever ends the application waits for it.
void SyncSequence::runTerminateTask()
{
    for (const auto& task : tasks_)
        if (task->terminateTask && !task->finished) runOperation(*task);
}

void SyncSequence::runTasks()
{
    for (std::size_t index = 0;; ++index) {
        checkAddingSyncTask();
        if (index >= tasks_.size()) return;
        auto task = tasks_[index];
        if (task->finished) continue;
        if (!task->operate)
            runSync(*task, index);
        else if (!runOperation(*task))
            return;
    }
}

void SyncSequence::checkAddingSyncTask()
{
    if (outside_.progress.canceled()) return;
    auto joining = outside_.waiting.takeThoseMissingIn(tasks_);
    tasks_.insert(tasks_.end(), joining.begin(), joining.end());
}

bool SyncSequence::runOperation(BXSyncTask& task)
{
    if (!outside_.progress.canceled() || task.terminateTask) task.operate();
    task.finished = true;
    return !task.terminateTask;
}

void SyncSequence::runSync(BXSyncTask& task, std::size_t index)
{
    if (!outside_.progress.canceled()) {
        showPosition(task, index);
        auto run = outside_.makeRun(task);
        outside_.frontEnd.taskDidBegin(task);
        auto outcome = SequenceOutcome::someItemsFailed;
        try {
            outcome = loginAndRun(task, run);
        } catch (...) {
            outside_.frontEnd.taskDidEnd(task, outcome);
            throw;
        }
        outside_.frontEnd.taskDidEnd(task, outcome);
        if (run->isCancelled()) outside_.progress.setCanceled(true);
    }
    task.finished = true;
}

void SyncSequence::showPosition(const BXSyncTask& task, std::size_t index)
{
    auto& progress = outside_.progress;
    progress.setPercentProgress(100.0 * static_cast<double>(index) / static_cast<double>(tasks_.size()),
                                localizeAndFill("PROCESSING_SYNC", "TidemarkResource", {{"name", task.name}}));
    progress.setConnectCount(static_cast<std::int64_t>(tasks_.size()));
    progress.setFinishConnectCount(static_cast<std::int64_t>(index));
}

SequenceOutcome SyncSequence::loginAndRun(BXSyncTask& task, const std::shared_ptr<SequenceRun>& run)
{
    auto& progress = outside_.progress;
    progress.setCancelHandler([run] { run->cancel(); });
    struct TakeHandlerBack
    {
        BXSyncProgressModel& progress;
        ~TakeHandlerBack() { progress.setCancelHandler({}); }
    } takeHandlerBack{progress};

    const bool loggedIn =
        run->login([&](BXSyncConf& conf, LoginReason reason) { return askForLogin(task, conf, reason); });
    if (!loggedIn) {
        if (task.autoSync) dropWatchedChanges(task);
        return run->isCancelled() || progress.canceled() ? SequenceOutcome::cancelled : SequenceOutcome::loginFailed;
    }
    if (progress.canceled()) run->cancel();
    run->start();
    while (!run->waitUntilFinished(longestLook)) {
    }
    if (task.listup) outside_.frontEnd.addList(run->modifiedItems(), task.name);
    return run->outcome();
}

bool SyncSequence::askForLogin(const BXSyncTask& task, BXSyncConf& conf, LoginReason reason)
{
    if (task.autoSync || task.scheduleSync) return false;
    bool answer = false;
    BXTidemarkUtils::execMainThread([&] { answer = outside_.frontEnd.loginDialog(conf, reason); });
    return answer;
}

void SyncSequence::dropWatchedChanges(const BXSyncTask& task)
{
    if (auto watcher = outside_.store.fileWatcher(task.name)) (void)watcher->modifiedList(true);
}

} // namespace tidemark
