#include "SyncLibrary/BXSyncAutoSyncManager.h"

#include "SyncLibrary/BXSyncFileWatcher.h"
#include "SyncLibrary/BXSyncInspectFileAuto.h"
#include "SyncLibrary/BXSyncWebDAVInspectFileAuto.h"

namespace tidemark {

void BXSyncAutoSyncManager::takeSnapshot(bool clear)
{
    if (!fileWacher()) return;
    // A failure that comes after this look leaves the snapshot whole.
    const auto failure = fileWacher()->watchFailure();
    // What stands where the watched folder was may be another, empty one.
    wholeFolder_ = failure && failure->kind != DirectoryWatchFailure::Kind::rootGone;
    checkItems_ = fileWacher()->modifiedList(clear);
}

void BXSyncAutoSyncManager::listup()
{
    takeSnapshot(false);
    BXSyncManager::listup(false);
}

void BXSyncAutoSyncManager::listupForSyncBefore()
{
    takeSnapshot(true);
    BXSyncManager::listup(true);
}

std::shared_ptr<BXSyncInspectFile> BXSyncAutoSyncManager::getLocalInspectFile()
{
    if (wholeFolder_) return BXSyncManager::getLocalInspectFile();
    return std::make_shared<BXSyncInspectFileAuto>(errorskip(), logger(), checkItems_);
}

std::shared_ptr<BXSyncWebDAVInspectFile> BXSyncAutoSyncManager::getServerInspestFile()
{
    if (wholeFolder_) return BXSyncManager::getServerInspestFile();
    return std::make_shared<BXSyncWebDAVInspectFileAuto>(serverAccess(), logger(), checkItems_);
}

} // namespace tidemark
