#include "app/BXSyncTopMenu.h"

#include "SyncLibrary/BXSyncFileWatcher.h"
#include "SyncLibrary/BXSyncRunLock.h"
#include "Utils/BXTidemarkUtils.h"
#include "app/SyncSequence.h"
#include "config/BXSyncConfigManager.h"
#include "config/BXSyncGlobalConf.h"

namespace tidemark {

namespace {

constexpr auto intervalWithoutWatch = std::chrono::minutes(1);

} // namespace

BXSyncTopMenu::BXSyncTopMenu(Outside outside) : outside_(std::move(outside)) {}

BXSyncTopMenu::~BXSyncTopMenu()
{
    cancelSync();
    if (syncThread_) outside_.frontEnd.runMainLoopUntil([this] { return !syncExecuting(); });
}

bool BXSyncTopMenu::syncExecuting() const
{
    return syncThread_ && !syncThread_->isFinished();
}

void BXSyncTopMenu::scheduleAndAutoSyncCheck()
{
    addSyncTask_.add(dueTasks());
    if (!syncExecuting() && !addSyncTask_.empty()) syncStart(TaskList{}, false);
}

TaskList BXSyncTopMenu::dueTasks()
{
    schedules_.beginCheck(dates::localFields(outside_.clock.wallNow()));
    TaskList scheduled;
    TaskList automatic;
    for (const auto& name : outside_.store.enableConfigNames()) {
        const auto conf = outside_.store.get(name, true);
        if (!conf) continue;
        if (conf->info()->isUseAuthorization() && schedules_.fire(conf->syncSchedules()))
            if (auto task = namedTask(name)) {
                task->scheduleSync = true;
                scheduled.push_back(std::move(task));
            }
        if (conf->autosync() && hasWatchedChanges(name) && !isRunElsewhere(*conf))
            if (auto task = namedTask(name)) {
                task->autoSync = true;
                automatic.push_back(std::move(task));
            }
    }
    scheduled.insert(scheduled.end(), automatic.begin(), automatic.end());
    return scheduled;
}

bool BXSyncTopMenu::hasWatchedChanges(const std::string& name)
{
    const auto watcher = outside_.store.fileWatcher(name);
    if (!watcher) return false;
    const auto failure = watcher->watchFailure();
    if (!failure) {
        unwatched_.erase(name);
        return watcher->hasModified();
    }
    const auto now = outside_.clock.steadyNow();
    const auto [entry, isNews] = unwatched_.try_emplace(name, now);
    if (isNews) outside_.frontEnd.watchDidFail(name, *failure);
    if (!isNews && now - entry->second < intervalWithoutWatch) return false;
    entry->second = now;
    if (failure->kind != DirectoryWatchFailure::Kind::rootGone) return true;
    outside_.store.watchAgain(name);
    return false;
}

/// Its changes wait for the end of a run that another program has begun.
bool BXSyncTopMenu::isRunElsewhere(const BXSyncConf& conf) const
{
    if (syncExecuting()) return false;
    const auto lock = BXSyncRunLock::tryAcquire(conf.syncinfoPath());
    return lock && !*lock;
}

std::shared_ptr<BXSyncTask> BXSyncTopMenu::namedTask(const std::string& name) const
{
    auto conf = outside_.store.get(name, false);
    if (!conf) return nullptr;
    auto task = std::make_shared<BXSyncTask>();
    task->name = name;
    task->conf = std::move(conf);
    return task;
}

void BXSyncTopMenu::syncStart(const std::vector<std::string>& names, bool listup, bool force)
{
    if (!makeRoom(force)) return;
    TaskList tasks;
    for (const auto& name : names) {
        auto task = namedTask(name);
        if (!task || !task->conf->enable()) continue;
        task->listup = listup;
        tasks.push_back(std::move(task));
    }
    begin(std::move(tasks), listup);
}

void BXSyncTopMenu::syncStart(TaskList tasks, bool listup, bool force)
{
    if (makeRoom(force)) begin(std::move(tasks), listup);
}

bool BXSyncTopMenu::makeRoom(bool force)
{
    if (!syncExecuting()) return true;
    if (force) {
        outside_.progress.cancelSync();
        outside_.frontEnd.runMainLoopUntil([this] { return !syncExecuting(); });
        return true;
    }
    if (outside_.settings.hideProgress())
        BXTidemarkUtils::showErrorAlert("ALREADY_SYNC_EXECUTEING");
    else
        outside_.frontEnd.bringProgressToFront();
    return false;
}

void BXSyncTopMenu::begin(TaskList tasks, bool listup)
{
    outside_.progress.resetWindow();
    outside_.frontEnd.sequenceWillBegin(!outside_.settings.hideProgress());
    if (listup) {
        auto show = std::make_shared<BXSyncTask>();
        show->operate = [this] { BXTidemarkUtils::execMainThread([this] { outside_.frontEnd.showSyncList(); }); };
        tasks.push_back(std::move(show));
    }
    SyncSequence::Outside outside{outside_.store, outside_.progress, outside_.frontEnd, addSyncTask_, outside_.makeRun};
    syncThread_ = std::make_unique<NamedThread>(
        "SyncThread",
        [sequence = std::make_shared<SyncSequence>(std::move(outside), std::move(tasks))] { sequence->run(); },
        [this] { outside_.frontEnd.wakeMainLoop(); });
}

void BXSyncTopMenu::execSyncOnTerminate(bool terminate, std::function<void()> mayTerminate)
{
    if (!makeRoom(terminate)) return;
    TaskList tasks;
    for (const auto& name : outside_.store.enableConfigNames())
        if (auto task = namedTask(name)) tasks.push_back(std::move(task));
    if (terminate) {
        auto last = std::make_shared<BXSyncTask>();
        last->operate = [mayTerminate = std::move(mayTerminate)] { BXTidemarkUtils::execMainThread(mayTerminate); };
        last->terminateTask = true;
        tasks.push_back(std::move(last));
    }
    begin(std::move(tasks), false);
}

void BXSyncTopMenu::cancelSync()
{
    if (syncExecuting()) outside_.progress.cancelSync();
}

} // namespace tidemark
