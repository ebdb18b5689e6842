#pragma once

#include <vector>

#include "SyncLibrary/BXSyncManager.h"
#include "SyncLibrary/BXSyncModifiedItem.h"

namespace tidemark {

/// A run over the paths that the configuration's watcher has noted. Where the system cannot watch the folder, the
/// whole of it is looked at.
class BXSyncAutoSyncManager final : public BXSyncManager
{
public:
    using BXSyncManager::BXSyncManager;
    ~BXSyncAutoSyncManager() override { joinThreads(); }

    /// The watcher keeps its list.
    void listup() override;
    /// The watcher's list is emptied.
    void listupForSyncBefore() override;
    std::shared_ptr<BXSyncInspectFile> getLocalInspectFile() override;
    std::shared_ptr<BXSyncWebDAVInspectFile> getServerInspestFile() override;
    bool isAutoSync() const override { return true; }

    const std::vector<BXSyncModifiedItem>& checkItems() const { return checkItems_; }

private:
    void takeSnapshot(bool clear);

    std::vector<BXSyncModifiedItem> checkItems_;
    bool wholeFolder_ = false;
};

} // namespace tidemark
