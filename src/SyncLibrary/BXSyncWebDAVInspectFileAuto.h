#pragma once

#include <memory>
#include <optional>
#include <set>
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
    std::int64_t checkPaths();
    std::int64_t checkPath(const BXSyncModifiedItem& checkItem);
    /// The path's own entry and what it holds; empty where the server does not have it.
    std::optional<Items> listPath(const Url& base, const BXSyncModifiedItem& checkItem);
    /// Lists the folders on the way to the path in which the server may hold a name in another spelling.
    bool learnSpellings(const Url& base, const std::string& pathname);

    std::vector<BXSyncModifiedItem> checkItems_;
    std::set<std::string> learnt_;
};

} // namespace tidemark
