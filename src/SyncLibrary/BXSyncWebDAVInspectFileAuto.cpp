#include "SyncLibrary/BXSyncWebDAVInspectFileAuto.h"

#include "Logger/LogFacade.h"
#include "SyncLibrary/BXSyncCheckedPaths.h"
#include "platform/FileSystem.h"

namespace tidemark {

BXSyncWebDAVInspectFileAuto::BXSyncWebDAVInspectFileAuto(BXSyncServerAccess server, std::shared_ptr<LogFacade> logger,
                                                         std::vector<BXSyncModifiedItem> checkItems)
    : BXSyncWebDAVInspectFile(std::move(server), std::move(logger)), checkItems_(std::move(checkItems))
{
}

std::int64_t BXSyncWebDAVInspectFileAuto::checkSyncInfo(const std::string& root, bool isAllUpdate)
{
    const BXSyncCheckedPaths paths(checkItems_);
    if (paths.isWholeTree()) return BXSyncWebDAVInspectFile::checkSyncInfo(root, isAllUpdate);
    startScan(root);
    clearChecked();
    std::int64_t count = 0;
    for (const auto& checkItem : checkItems_) {
        if (cancel()) return count;
        const auto own = checkPath(checkItem);
        if (own < 0) return -1;
        count += own;
    }
    return count + markUnseenDeleted([&](std::string_view name) { return paths.covers(name); });
}

std::int64_t BXSyncWebDAVInspectFileAuto::checkPath(const BXSyncModifiedItem& checkItem)
{
    const auto base = Url::parse(root());
    if (!base) {
        logger()->error("{}", base.error().description());
        return -1;
    }
    const auto url = base->appendingPath(checkItem.relativePath).withoutTrailingSlash();
    const bool asFolder = fs::isFolder(checkItem.path);
    auto items = createWebDAVFileItems((asFolder ? url.withTrailingSlash() : url).absoluteString(), true);
    if (!items) return -1;
    std::int64_t count = 0;
    for (auto& item : *items) {
        // The path's own listing is at hand; only the folders in it are listed in turn.
        const bool isSelf = item.path == url.absoluteString();
        const auto own = BXSyncWebDAVInspectFile::checkItem(item, root(), !isSelf);
        if (own < 0) return -1;
        count += own;
    }
    return count;
}

} // namespace tidemark
