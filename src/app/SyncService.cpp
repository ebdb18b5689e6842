#include "app/SyncService.h"

#include <unistd.h>

#include "SyncLibrary/BXSyncFileWatcher.h"
#include "app/NextSchedule.h"
#include "app/SyncTaskRun.h"
#include "config/BXSyncConfigManager.h"
#include "config/BXSyncGlobalConf.h"
#include "config/BXSyncTask.h"

namespace tidemark {

namespace {

constexpr auto checkInterval = std::chrono::seconds(1);
constexpr const char* lockName = "service.lock";

std::string watcherWords(const BXSyncFileWatcher* watcher)
{
    if (!watcher || !watcher->on()) return "off";
    const auto failure = watcher->watchFailure();
    return failure ? failure->text : "watching";
}

} // namespace

SyncService::SyncService(Outside outside, std::string program)
    : outside_(std::move(outside)), program_(std::move(program)), loop_(RunLoop::current()), progress_(outside_.clock),
      menu_({outside_.store, outside_.settings, progress_, *this, outside_.clock, [this](const BXSyncTask& task) {
                 return std::make_shared<SyncTaskRun>(task, SyncTaskRun::Outside{outside_.store, outside_.settings,
                                                                                 progress_, &outside_.confirmDelegate});
             }})
{
}

SyncService::~SyncService() = default;

std::string SyncService::begin()
{
    const auto& directory = outside_.store.directory();
    auto lock = fs::FileLock::tryAcquire(fs::joinPath(directory, lockName));
    if (!lock) return lock.error().description();
    const auto socket = statusSocketPath(directory);
    if (!*lock) {
        const auto running = readStatus(socket);
        const auto status = running ? ServiceStatus::fromJson(*running) : std::nullopt;
        return status ? status->program + " (process " + std::to_string(status->processId) +
                            ") serves this configuration directory already"
                      : "another program serves this configuration directory already";
    }
    lock_ = std::move(*lock);
    auto server = StatusServer::start(socket, [this] { return statusJson(); });
    if (!server) return server.error().description();
    statusServer_ = std::move(*server);
    return {};
}

void SyncService::serve()
{
    outside_.store.startWatching();
    changes_ = std::make_unique<ConfigurationChanges>(outside_.store);
    if (outside_.settings.syncOnStartUp()) menu_.execSyncOnTerminate(false, {});
    armCheck();
    loop_->runUntil([this] { return ended_; });
    statusServer_.reset();
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

std::string SyncService::statusJson()
{
    ServiceStatus status;
    status.program = program_;
    status.processId = ::getpid();
    status.running = history_.running();
    for (const auto& name : outside_.store.configNames()) {
        const auto conf = outside_.store.get(name, true);
        if (!conf) continue;
        ServiceStatus::Configuration configuration;
        configuration.name = name;
        configuration.enabled = conf->enable();
        if (const auto last = history_.last(name)) {
            configuration.lastResult = outcomeWords(last->outcome);
            configuration.lastTime = last->time;
        }
        if (conf->enable() && conf->info()->isUseAuthorization())
            configuration.nextSchedule = nextSchedule(conf->syncSchedules(), outside_.clock.wallNow());
        configuration.watcher = watcherWords(outside_.store.fileWatcher(name).get());
        status.configurations.push_back(std::move(configuration));
    }
    return status.toJson();
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
    history_.begin(task.name);
    outside_.say(task.name + ": sync begins");
}

void SyncService::taskDidEnd(const BXSyncTask& task, SequenceOutcome outcome)
{
    history_.end(task.name, outcome, outside_.clock.wallNow());
    outside_.say(task.name + ": " + outcomeWords(outcome));
}

} // namespace tidemark
