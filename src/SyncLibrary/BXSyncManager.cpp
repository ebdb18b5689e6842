#include "SyncLibrary/BXSyncManager.h"

#include <algorithm>
#include <chrono>

#include "Logger/BXLogger.h"
#include "SyncLibrary/BXSyncExecutor.h"
#include "SyncLibrary/BXSyncFileWatcher.h"
#include "SyncLibrary/BXSyncQuestions.h"
#include "SyncLibrary/BXSyncRunLock.h"
#include "SyncLibrary/BXSyncWebDAVInspectFile.h"
#include "config/BXSyncConfigManager.h"
#include "config/BXSyncGlobalConf.h"
#include "davclient/ASWDCmdGet.h"
#include "davclient/ASWDCmdUpload.h"

namespace tidemark {

namespace {

/// The longest time between two looks at the cancel flag.
constexpr auto lookInterval = std::chrono::milliseconds(100);

BXSyncManager::Surroundings surroundingsOf(const BXSyncConf& conf)
{
    const auto rule = [] {
        const auto& settings = BXSyncGlobalConf::getInstance();
        return BXSyncReconnectRule{settings.reconnect(), settings.reconnectLimit(), settings.reconnectInterval()};
    };
    return {BXSyncConfigManager::getinstance().fileWatcher(conf.name()), rule};
}

bool needsServerListing(SyncMode mode)
{
    return mode == SyncMode::twoWay || mode == SyncMode::downloadOnly;
}

} // namespace

BXSyncManager::BXSyncManager(std::shared_ptr<BXSyncConf> conf, bool errorskip)
    : BXSyncManager(conf, errorskip, surroundingsOf(*conf))
{
}

BXSyncManager::BXSyncManager(std::shared_ptr<BXSyncConf> conf, bool errorskip, Surroundings surroundings)
    : conf_(std::move(conf)), errorskip_(errorskip), surroundings_(std::move(surroundings)),
      logger_(BXLogger::getLogger(conf_->syncLogPath(), conf_->logname(), static_cast<int>(conf_->logKeepDays()))),
      runner_(surroundings_.reconnectRule, logger_), operations_(BXSyncOperations::of(*conf_))
{
}

BXSyncManager::~BXSyncManager()
{
    joinThreads();
}

void BXSyncManager::joinThreads()
{
    std::shared_ptr<NamedThread> syncThread, listupThread;
    {
        std::lock_guard lock(threadsMutex_);
        syncThread = syncThread_;
    }
    if (syncThread) syncThread->join();
    {
        std::lock_guard lock(threadsMutex_);
        listupThread = listupThread_;
    }
    if (listupThread) listupThread->join();
}

std::shared_ptr<NamedThread> BXSyncManager::startListup(bool forSyncBefore)
{
    return startListupThread([this, forSyncBefore] { runListupAlone(forSyncBefore); });
}

std::shared_ptr<NamedThread> BXSyncManager::startListupThread(std::function<void()> work)
{
    std::lock_guard lock(threadsMutex_);
    listupThread_ = std::make_shared<NamedThread>("ListupThread", std::move(work));
    return listupThread_;
}

std::shared_ptr<NamedThread> BXSyncManager::startSync()
{
    std::lock_guard lock(threadsMutex_);
    syncThread_ = std::make_shared<NamedThread>("FileSyncThread", [this] { sync(); });
    return syncThread_;
}

bool BXSyncManager::acquireLock()
{
    auto lock = BXSyncRunLock::tryAcquire(conf_->syncinfoPath());
    if (!lock) {
        logger_->error("The run cannot be locked. {}", lock.error().description());
        outcome_ = BXSyncRunOutcome::aborted;
        return false;
    }
    lock_ = std::move(*lock);
    if (lock_) return true;
    logger_->error("ALREADY_SYNC_EXECUTEING {}", conf_->name());
    outcome_ = BXSyncRunOutcome::alreadyRunning;
    return false;
}

void BXSyncManager::runListupAlone(bool forSyncBefore)
{
    if (!acquireLock()) return;
    runListup(forSyncBefore);
    lock_.reset();
    outcome_ = cancelFlg() ? BXSyncRunOutcome::cancelled : listupOutcome_;
}

void BXSyncManager::runListup(bool forSyncBefore)
{
    try {
        forSyncBefore ? listupForSyncBefore() : listup();
    } catch (const std::exception& exception) {
        logger_->error("{}", exception.what());
        failListup(LogLevel::error, "Error Checking Update Files.");
    }
    runner_.clearCurrentCmd();
}

void BXSyncManager::listup()
{
    listup(false);
}

void BXSyncManager::listupForSyncBefore()
{
    if (surroundings_.fileWatcher) surroundings_.fileWatcher->modifiedList(true);
    listup(true);
}

void BXSyncManager::sync()
{
    if (!acquireLock()) return;
    outcome_ = syncImpl();
    runner_.clearCurrentCmd();
    std::lock_guard lock(threadsMutex_);
    if (listupThread_->isFinished()) lock_.reset();
}

BXSyncRunOutcome BXSyncManager::syncImpl()
{
    const auto listing = startListupThread([this] { runListup(true); });
    if (!waitForListup(*listing)) return BXSyncRunOutcome::cancelled;
    if (erroronlistup_) return listupOutcome_;
    if (changes_.items.empty()) return BXSyncRunOutcome::finished;
    return execute();
}

/// False after a cancel.
bool BXSyncManager::waitForListup(const NamedThread& thread) const
{
    while (!thread.waitFor(lookInterval))
        if (cancelFlg()) return false;
    return true;
}

BXSyncRunOutcome BXSyncManager::execute()
{
    const BXSyncLocalFolder local(conf_->localPath(), *scanned_);
    const BXSyncServerFolder server(*conf_, runner_, serverfile_ ? &serverfile_->spellings() : nullptr);
    BXSyncInflight inflight(conf_->syncinfoPath(), conf_->localPath(),
                            [&local](const std::string& path) { return local.locate(path); });
    BXSyncConfirmer confirmer(confirmDelegate_, operations_, conf_->mode(), errorskip_, runner_, report_, *logger_);
    const BXSyncRunContext context{
        *conf_, runner_, local, server, inflight, confirmer, progress(), *logger_, surroundings_.fileWatcher.get()};
    return BXSyncExecutor(context, *localfile_, serverfile_.get(), confirmDelegate_).run(changes_);
}

void BXSyncManager::listup(bool /*forSyncBefore*/)
{
    collectChanges();
}

void BXSyncManager::collectChanges()
{
    logger_->info("Checking Update Files...");
    if (!recoverInterrupted() || !inspectLocal()) return;
    progress().setTotalFiles(0, 0, 0, true);
    progress().update();
    operations_.settleFor(conf_->mode());
    if (needsServerListing(conf_->mode()) && !inspectServer()) return;
    buildList();
    logList();
    logger_->info("Checked Update Files...");
}

/// What a run that died has left half downloaded is not to be taken for the user's.
bool BXSyncManager::recoverInterrupted()
{
    if (!fs::isFolder(conf_->localPath())) {
        // Without its folder nothing can be told about a half file: the record waits.
        logger_->error("The folder cannot be read. {}", conf_->localPath());
        failListup(LogLevel::info, "Error Checking Update Local Files.");
        return false;
    }
    const auto locate = [this](const std::string& pathname) { return fs::resolve(conf_->localPath(), pathname); };
    const auto recovered = BXSyncInflight::recover(conf_->syncinfoPath(), locate);
    if (!recovered) {
        logger_->error("An interrupted download cannot be put right. {}", recovered.error().description());
        failListup(LogLevel::info, "Error Checking Update Local Files.");
        return false;
    }
    for (const auto& pathname : *recovered)
        logger_->info("Interrupted download: {}", pathname);
    return true;
}

bool BXSyncManager::readSyncInfo(BXSyncInspectFile& inspector)
{
    const auto read = inspector.readSyncInfo(conf_->syncinfoPath());
    if (!read) logger_->error("The sync info cannot be read. {}", read.error().description());
    return read.has_value();
}

/// False when the listup ends here.
bool BXSyncManager::inspectLocal()
{
    localfile_ = scanned_ = getLocalInspectFile();
    const auto changes = readSyncInfo(*localfile_) ? localfile_->checkSyncInfo(conf_->localPath(), false) : -1;
    if (changes < 0) {
        failListup(LogLevel::info, "Error Checking Update Local Files.");
        return false;
    }
    if (changes == 0 && isAutoSync()) {
        logger_->info("Checked Update Files...");
        return false;
    }
    return true;
}

bool BXSyncManager::inspectServer()
{
    auto inspector = getServerInspestFile();
    {
        std::lock_guard lock(serverfileMutex_);
        serverfile_ = inspector;
        inspector->setCancel(cancelFlg());
    }
    const auto changes = readSyncInfo(*inspector) ? inspector->checkSyncInfo(conf_->serverURL(), false) : -1;
    if (inspector->cancel() || cancelFlg()) {
        erroronlistup_ = true;
        listupOutcome_ = BXSyncRunOutcome::cancelled;
        logger_->info("Cancelled Checking Update Files.");
        return false;
    }
    if (changes < 0) {
        failListup(LogLevel::error, "Error Checking Update Server Files.", listingFailure());
        return false;
    }
    return true;
}

void BXSyncManager::buildList()
{
    std::vector<BXSyncFileDataInfo*> serverItems;
    if (conf_->mode() == SyncMode::twoWay) {
        localfile_->compareSyncInfo(*serverfile_);
        serverfile_->compareSyncInfo(*localfile_);
        localfile_->noteFoldersInPlaceOfFiles(*serverfile_);
        serverfile_->noteFoldersInPlaceOfFiles(*localfile_);
        localfile_->undoDeleteFolderOnOtherFileUpdated(serverfile_->modifiedItems());
        serverfile_->undoDeleteFolderOnOtherFileUpdated(localfile_->modifiedItems());
    }
    if (serverfile_) serverItems = serverfile_->modifiedItems();
    changes_ = BXSyncListup::build(conf_->mode(), operations_, localfile_->modifiedItems(), serverItems);
    if (conf_->mode() == SyncMode::downloadOnly) localfile_ = serverfile_;
}

void BXSyncManager::logList() const
{
    for (const auto& pathname : changes_.ignoredDeletions)
        logger_->info("[Delete (Ignored)]{}", pathname);
    for (const auto* item : changes_.items)
        logger_->info("{}", BXSyncListup::describe(*item));
}

BXSyncRunOutcome BXSyncManager::listingFailure() const
{
    return runner_.lastErrorMessage() == "CONNECTION_ERROR" ? BXSyncRunOutcome::connectionFailed
                                                            : BXSyncRunOutcome::listupFailed;
}

void BXSyncManager::failListup(LogLevel level, const char* log, BXSyncRunOutcome outcome)
{
    erroronlistup_ = true;
    listupOutcome_ = outcome;
    logger_->message(level, log);
    showListupError();
}

void BXSyncManager::showListupError()
{
    if (confirmDelegate_) confirmDelegate_->confirm(BXSyncQuestions::listupFailure(nullptr));
}

void BXSyncManager::setCancelFlg(bool value)
{
    runner_.setCancelFlg(value);
    std::lock_guard lock(serverfileMutex_);
    if (serverfile_) serverfile_->setCancel(value);
}

void BXSyncManager::setConfirmDelegate(BXSyncConfirmDelegate* delegate)
{
    confirmDelegate_ = delegate;
    runner_.setConfirmDelegate(delegate);
}

std::int64_t BXSyncManager::transSize() const
{
    const auto command = currentCmd();
    const auto connection = command ? command->connection() : nullptr;
    if (!connection) return 0;
    if (dynamic_cast<const ASWDCmdGetStream*>(command.get()))
        return static_cast<std::int64_t>(connection->processedResponseBodyBytes());
    if (dynamic_cast<const ASWDCmdUploadBase*>(command.get()))
        return static_cast<std::int64_t>(connection->processedRequestBodyBytes().value_or(0));
    return 0;
}

std::int64_t BXSyncManager::sentSize() const
{
    const auto command = currentCmd();
    return transSize() + (command ? std::max<std::int64_t>(command->sentBytes(), 0) : 0);
}

std::shared_ptr<BXSyncInspectFile> BXSyncManager::getLocalInspectFile()
{
    return std::make_shared<BXSyncInspectFile>(errorskip_, logger_);
}

BXSyncServerAccess BXSyncManager::serverAccess()
{
    return {conf_->info(), conf_->marlockVersion(), runner_, progressDelegate_};
}

std::shared_ptr<BXSyncWebDAVInspectFile> BXSyncManager::getServerInspestFile()
{
    return std::make_shared<BXSyncWebDAVInspectFile>(serverAccess(), logger_);
}

BXSyncProgressDelegate& BXSyncManager::progress() const
{
    static BXSyncProgressDelegate nobody;
    return progressDelegate_ ? *progressDelegate_ : nobody;
}

} // namespace tidemark
