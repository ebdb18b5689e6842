#include "app/SyncTaskRun.h"

#include <optional>

#include "Logger/BXLogger.h"
#include "SyncLibrary/BXSyncAutoSyncManager.h"
#include "SyncLibrary/BXSyncManager.h"
#include "app/SyncItems.h"
#include "config/BXSyncConfigManager.h"
#include "config/BXSyncGlobalConf.h"
#include "config/BXSyncTask.h"
#include "platform/RunLoop.h"

namespace tidemark {

namespace {

std::unique_ptr<BXSyncManager> makeManager(const BXSyncTask& task, const SyncTaskRun::Outside& outside)
{
    constexpr bool errorskip = false;
    BXSyncManager::Surroundings surroundings{
        outside.store.fileWatcher(task.name), [&settings = outside.settings] {
            return BXSyncReconnectRule{settings.reconnect(), settings.reconnectLimit(), settings.reconnectInterval()};
        }};
    if (task.autoSync) return std::make_unique<BXSyncAutoSyncManager>(task.conf, errorskip, std::move(surroundings));
    return std::make_unique<BXSyncManager>(task.conf, errorskip, std::move(surroundings));
}

/// On the manager's thread, which is the one that writes its report.
std::string reasonOf(const BXSyncManager& manager, const std::string& pathname)
{
    const auto& errors = manager.report().itemErrors();
    const auto found = errors.find(pathname);
    return found == errors.end() ? std::string{} : errorText(found->second);
}

/// A run that nobody has started tells of it nowhere else. Without a log of its own it goes to the program's.
void logRefusal(const BXSyncConf& conf)
{
    const auto reason = conf.loginError() ? conf.loginError()->description() : std::string();
    if (conf.syncLogPath().empty()) return BXLogger::globalError(conf.name() + ": The login failed. " + reason);
    const auto logger = BXLogger::getLogger(conf.syncLogPath(), conf.logname(), static_cast<int>(conf.logKeepDays()));
    logger->error("The login failed. {}", reason);
}

} // namespace

class SyncTaskRun::Meter final : public BXSyncTransferMeter
{
public:
    explicit Meter(const BXSyncManager& manager) : manager_(manager) {}
    std::int64_t sentSize() const override { return manager_.sentSize(); }
    std::int64_t transSize() const override { return manager_.transSize(); }

private:
    const BXSyncManager& manager_;
};

SyncTaskRun::SyncTaskRun(const BXSyncTask& task, const Outside& outside)
    : conf_(task.conf), listup_(task.listup), progress_(outside.progress), items_(outside.items),
      manager_(makeManager(task, outside)), meter_(std::make_unique<Meter>(*manager_))
{
    manager_->setProgressDelegate(&progress_);
    manager_->setConfirmDelegate(outside.confirmDelegate);
    progress_.setTransferMeter(meter_.get());
    if (!items_) return;
    items_->beginRun(task.name, [this](const std::string& pathname) { return reasonOf(*manager_, pathname); });
    progress_.setItems(items_);
}

SyncTaskRun::~SyncTaskRun()
{
    progress_.setTransferMeter(nullptr);
    if (!items_) return;
    progress_.setItems(nullptr);
    items_->endRun();
}

bool SyncTaskRun::login(const BXSyncConf::LoginHandler& handler)
{
    std::optional<bool> success;
    conf_->login(
        handler, [&success] { success = true; }, [&success](bool) { success = false; });
    RunLoop::current()->runUntil([&success] { return success.has_value(); });
    if (!*success && !isCancelled()) logRefusal(*conf_);
    return *success && !isCancelled();
}

void SyncTaskRun::start()
{
    thread_ = listup_ ? manager_->startListup(false) : manager_->startSync();
}

bool SyncTaskRun::waitUntilFinished(std::chrono::nanoseconds step)
{
    return thread_->waitFor(step);
}

void SyncTaskRun::cancel()
{
    {
        std::lock_guard lock(mutex_);
        cancelled_ = true;
    }
    conf_->cancelRequests();
    manager_->setCancelFlg(true);
}

bool SyncTaskRun::isCancelled() const
{
    std::lock_guard lock(mutex_);
    return cancelled_ || manager_->cancelFlg();
}

SequenceOutcome SyncTaskRun::outcome() const
{
    switch (manager_->outcome()) {
    case BXSyncRunOutcome::running:
    case BXSyncRunOutcome::finished:
        return SequenceOutcome::done;
    case BXSyncRunOutcome::someItemsFailed:
    case BXSyncRunOutcome::aborted:
        return SequenceOutcome::someItemsFailed;
    case BXSyncRunOutcome::listupFailed:
    case BXSyncRunOutcome::connectionFailed:
        return SequenceOutcome::listupFailed;
    case BXSyncRunOutcome::cancelled:
        return SequenceOutcome::cancelled;
    case BXSyncRunOutcome::alreadyRunning:
        return SequenceOutcome::refusedAlreadyRunning;
    }
    return SequenceOutcome::done;
}

std::vector<BXSyncFileDataInfo*> SyncTaskRun::modifiedItems() const
{
    return manager_->modifiedItems();
}

} // namespace tidemark
