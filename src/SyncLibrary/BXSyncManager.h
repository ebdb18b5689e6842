#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Logger/LogFacade.h"
#include "SyncLibrary/BXSyncCommandRunner.h"
#include "SyncLibrary/BXSyncConfirmInfo.h"
#include "SyncLibrary/BXSyncListup.h"
#include "SyncLibrary/BXSyncPolicy.h"
#include "SyncLibrary/BXSyncProgressDelegate.h"
#include "SyncLibrary/BXSyncRunReport.h"
#include "platform/Threads.h"

namespace tidemark {

class BXSyncFileWatcher;
class BXSyncInspectFile;
class BXSyncRunLock;
class BXSyncWebDAVInspectFile;
struct BXSyncServerAccess;

/// One run of one configuration: a listup, and the sync of what it found. Made for one run and thrown away after it;
/// the configuration has signed in before and does not change meanwhile.
///
/// startListup() and startSync() are called once, either the one or the other. setCancelFlg(), cancelFlg(),
/// currentCmd(), transSize(), sentSize() and outcome() may be called from any thread at any time; delegates are set
/// before the start; everything else is read once the thread has finished. Destroying the manager waits for its
/// threads.
class BXSyncManager
{
public:
    /// What a run takes from the process around it.
    struct Surroundings
    {
        /// The configuration's watcher; null for none.
        std::shared_ptr<BXSyncFileWatcher> fileWatcher;
        std::function<BXSyncReconnectRule()> reconnectRule;
    };

    /// The surroundings are the configuration store's watcher and the global settings.
    BXSyncManager(std::shared_ptr<BXSyncConf> conf, bool errorskip);
    BXSyncManager(std::shared_ptr<BXSyncConf> conf, bool errorskip, Surroundings surroundings);
    virtual ~BXSyncManager();
    BXSyncManager(const BXSyncManager&) = delete;
    BXSyncManager& operator=(const BXSyncManager&) = delete;

    /// Lists the changes on the thread "ListupThread". With `forSyncBefore` the watcher's changes count as dealt with.
    std::shared_ptr<NamedThread> startListup(bool forSyncBefore);
    /// Lists and carries out the changes on the thread "FileSyncThread".
    std::shared_ptr<NamedThread> startSync();

    /// Waits for the threads; after a cancel the listing may end later than the run.
    void joinThreads();

    virtual void listup();
    virtual void listupForSyncBefore();
    /// The whole run on the calling thread.
    void sync();

    /// Setting it ends the command under way and every wait, and the run soon after.
    void setCancelFlg(bool value);
    bool cancelFlg() const { return runner_.cancelFlg(); }
    std::shared_ptr<ASWDCmd> currentCmd() const { return runner_.currentCmd(); }
    /// Bytes that the command under way has moved.
    std::int64_t transSize() const;
    /// The same with what an interrupted transfer had moved before.
    std::int64_t sentSize() const;

    Result<std::shared_ptr<ASWDCmd>> davConnect(const BXSyncCommandRunning::CommandFactory& factory,
                                                const BXSyncCommandRunning::AcceptStatus& accept)
    {
        return runner_.davConnect(factory, accept);
    }

    virtual std::shared_ptr<BXSyncInspectFile> getLocalInspectFile();
    virtual std::shared_ptr<BXSyncWebDAVInspectFile> getServerInspestFile();
    virtual bool isAutoSync() const { return false; }

    /// Not owned; null for none.
    BXSyncConfirmDelegate* confirmDelegate() const { return confirmDelegate_; }
    void setConfirmDelegate(BXSyncConfirmDelegate* delegate);
    BXSyncProgressDelegate* progressDelegate() const { return progressDelegate_; }
    void setProgressDelegate(BXSyncProgressDelegate* delegate) { progressDelegate_ = delegate; }

    const std::shared_ptr<BXSyncConf>& conf() const { return conf_; }
    const std::shared_ptr<LogFacade>& logger() const { return logger_; }
    bool errorskip() const { return errorskip_; }
    const std::shared_ptr<BXSyncFileWatcher>& fileWacher() const { return surroundings_.fileWatcher; }

    /// What the listup found, in the order of work.
    const std::vector<BXSyncFileDataInfo*>& modifiedItems() const { return changes_.items; }
    std::int64_t totalFiles() const { return changes_.totalFiles; }
    std::int64_t totalBytes() const { return changes_.totalBytes; }
    std::int64_t deleteFiles() const { return changes_.deleteFiles; }
    bool erroronlistup() const { return erroronlistup_; }

    BXSyncRunOutcome outcome() const { return outcome_; }
    const BXSyncRunReport& report() const { return report_; }

protected:
    void listup(bool forSyncBefore);
    /// For the inspector of the server.
    BXSyncServerAccess serverAccess();
    /// To be called by the destructor of every class below: the threads use virtual operations.

private:
    bool acquireLock();
    void runListup(bool forSyncBefore);
    /// Without a sync after it.
    void runListupAlone(bool forSyncBefore);
    std::shared_ptr<NamedThread> startListupThread(std::function<void()> work);
    BXSyncRunOutcome syncImpl();
    bool waitForListup(const NamedThread& thread) const;
    BXSyncRunOutcome execute();

    void collectChanges();
    bool recoverInterrupted();
    bool inspectLocal();
    bool inspectServer();
    bool readSyncInfo(BXSyncInspectFile& inspector);
    void buildList();
    void logList() const;
    BXSyncRunOutcome listingFailure() const;
    void failListup(LogLevel level, const char* log, BXSyncRunOutcome outcome = BXSyncRunOutcome::listupFailed);
    void showListupError();
    BXSyncProgressDelegate& progress() const;

    const std::shared_ptr<BXSyncConf> conf_;
    const bool errorskip_;
    const Surroundings surroundings_;
    const std::shared_ptr<LogFacade> logger_;
    BXSyncCommandRunner runner_;
    BXSyncConfirmDelegate* confirmDelegate_ = nullptr;
    BXSyncProgressDelegate* progressDelegate_ = nullptr;

    BXSyncOperations operations_;
    BXSyncChangeList changes_;
    /// What the disk looked like; kept beside localfile_, which another inspector may take the place of.
    std::shared_ptr<BXSyncInspectFile> scanned_;
    std::shared_ptr<BXSyncInspectFile> localfile_;
    mutable std::mutex serverfileMutex_; // guards the pointer serverfile_
    std::shared_ptr<BXSyncWebDAVInspectFile> serverfile_;
    bool erroronlistup_ = false;
    /// How the listup ended.
    BXSyncRunOutcome listupOutcome_ = BXSyncRunOutcome::finished;
    std::atomic<BXSyncRunOutcome> outcome_ = BXSyncRunOutcome::running;
    BXSyncRunReport report_;
    std::unique_ptr<BXSyncRunLock> lock_;

    std::mutex threadsMutex_; // guards the two below
    std::shared_ptr<NamedThread> listupThread_;
    std::shared_ptr<NamedThread> syncThread_;
};

} // namespace tidemark
