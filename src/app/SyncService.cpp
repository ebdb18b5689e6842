#include "app/SyncService.h"

#include "SyncLibrary/BXSyncFileWatcher.h"
#include "app/SyncTaskRun.h"
#include "config/BXSyncConfigManager.h"
#include "config/BXSyncGlobalConf.h"
#include "config/BXSyncTask.h"

namespace tidemark {

namespace {

constexpr auto checkInterval = std::chrono::seconds(1);

} // namespace

SyncService::SyncService(Outside outside, std::string program)
    : outside_(std::move(outside)), served_(outside_.store, outside_.clock, std::move(program)),
      loop_(RunLoop::current()), progress_(outside_.clock),
      menu_({outside_.store, outside_.settings, progress_, *this, outside_.clock, [this](const BXSyncTask& task) {
                 return std::make_shared<SyncTaskRun>(task, SyncTaskRun::Outside{outside_.store, outside_.settings,
                                                                                 progress_, &outside_.confirmDelegate});
             }})
{
}

SyncService::~SyncService() = default;

void SyncService::serve()
{
    outside_.store.startWatching();
    changes_ = std::make_unique<ConfigurationChanges>(outside_.store);
    if (outside_.settings.syncOnStartUp()) menu_.execSyncOnTerminate(false, {});
    armCheck();
    loop_->runUntil([this] { return ended_; });
    served_.end();
}

void SyncService::armCheck()
{
    loop_->addTimer(checkInterval, false, [this] { check(); });
}

void SyncService::check()
{
    if (terminating_) return;
    changes_->takeUp();
    menu_.scheduleAndAutoSyncCheck();
    armCheck();
}

void SyncService::reload()
{
    loop_->post([this] {
        if (changes_) changes_->reload();
        outside_.say("configurations are loaded again");
    });
}

void SyncService::terminate()
{
    loop_->post([this] { beginTermination(); });
}

void SyncService::beginTermination()
{
    if (terminating_) return;
    terminating_ = true;
    if (outside_.settings.syncOnExit()) {
        outside_.say("ending after a last sync");
        menu_.execSyncOnTerminate(true, [this] { end(); });
        return;
    }
    menu_.cancelSync();
    runMainLoopUntil([this] { return !menu_.syncExecuting(); });
    end();
}

void SyncService::end()
{
    ended_ = true;
    loop_->wake();
}

bool SyncService::loginDialog(BXSyncConf&, LoginReason)
{
    return false;
}

void SyncService::runMainLoopUntil(const std::function<bool()>& done)
{
    loop_->runUntil(done);
}

void SyncService::wakeMainLoop()
{
    loop_->wake();
}

void SyncService::watchDidFail(const std::string& confName, const DirectoryWatchFailure& failure)
{
    const bool isGone = failure.kind == DirectoryWatchFailure::Kind::rootGone;
    outside_.say(confName + ": " + failure.text +
                 (isGone ? "; it is looked for every minute" : "; the folder is looked at every minute instead"));
}

void SyncService::taskDidBegin(const BXSyncTask& task)
{
    served_.history().begin(task.name);
    outside_.say(task.name + ": sync begins");
}

void SyncService::taskDidEnd(const BXSyncTask& task, SequenceOutcome outcome)
{
    served_.history().end(task.name, outcome, outside_.clock.wallNow());
    outside_.say(task.name + ": " + outcomeWords(outcome));
}

} // namespace tidemark
