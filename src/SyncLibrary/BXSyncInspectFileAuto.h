#pragma once

#include <memory>
#include <string>
#include <vector>

#include "SyncLibrary/BXSyncInspectFile.h"
#include "SyncLibrary/BXSyncModifiedItem.h"

namespace tidemark {

/// Classifies only the paths of a snapshot of a watcher's changed list; other records stay as loaded.
class BXSyncInspectFileAuto : public BXSyncInspectFile
{
public:
    BXSyncInspectFileAuto(std::shared_ptr<LogFacade> logger, std::vector<BXSyncModifiedItem> checkItems);
    BXSyncInspectFileAuto(bool isErrorSkip, std::shared_ptr<LogFacade> logger,
                          std::vector<BXSyncModifiedItem> checkItems);

    const std::vector<BXSyncModifiedItem>& checkItems() const { return checkItems_; }

    /// Fails like a full scan where `root` itself is not a folder.
    std::int64_t checkSyncInfo(const std::string& root, bool isAllUpdate = false) override;

private:
    std::int64_t checkPath(const BXSyncModifiedItem& checkItem, const std::string& root);

    std::vector<BXSyncModifiedItem> checkItems_;
};

} // namespace tidemark
