#pragma once

#include <memory>
#include <string>
#include <vector>

#include "SyncLibrary/BXSyncModifiedItem.h"
#include "SyncLibrary/BXSyncWebDAVInspectFile.h"

namespace tidemark {

/// Asks the server only about the paths of a snapshot of a watcher's changed list.
class BXSyncWebDAVInspectFileAuto : public BXSyncWebDAVInspectFile
{
public:
    BXSyncWebDAVInspectFileAuto(BXSyncServerAccess server, std::shared_ptr<LogFacade> logger,
                                std::vector<BXSyncModifiedItem> checkItems);

    const std::vector<BXSyncModifiedItem>& checkItems() const { return checkItems_; }

    std::int64_t checkSyncInfo(const std::string& root, bool isAllUpdate = false) override;

private:
    std::int64_t checkPath(const BXSyncModifiedItem& checkItem);

    std::vector<BXSyncModifiedItem> checkItems_;
};

} // namespace tidemark
