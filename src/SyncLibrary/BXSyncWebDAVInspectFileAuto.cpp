#include "SyncLibrary/BXSyncWebDAVInspectFileAuto.h"

#include "Logger/LogFacade.h"
#include "SyncLibrary/BXSyncCheckedPaths.h"
#include "platform/FileSystem.h"
#include "platform/Unicode.h"

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
    learnt_.clear();
    const auto count = checkPaths();
    endScan();
    if (count < 0 || cancel()) return count;
    return count + markUnseenDeleted([&](std::string_view name) { return paths.covers(name); });
}

std::int64_t BXSyncWebDAVInspectFileAuto::checkPaths()
{
    std::int64_t count = 0;
    for (const auto& checkItem : checkItems_) {
        if (cancel()) return count;
        const auto own = checkPath(checkItem);
        if (own < 0) return -1;
        count += own;
    }
    return count;
}

std::int64_t BXSyncWebDAVInspectFileAuto::checkPath(const BXSyncModifiedItem& checkItem)
{
    const auto base = Url::parse(root());
    if (!base) {
        logger()->error("{}", base.error().description());
        return -1;
    }
    auto items = listPath(*base, checkItem);
    if (!items) return -1;
    const auto self = urlOf(*base, checkItem.relativePath).withoutTrailingSlash().absoluteString();
    std::int64_t count = 0;
    for (auto& item : *items) {
        // The path's own listing is at hand; only the folders in it are listed in turn.
        const bool isSelf = item.path == self;
        const auto own = BXSyncWebDAVInspectFile::checkItem(item, root(), !isSelf);
        if (own < 0) return -1;
        count += own;
    }
    return count;
}

std::optional<BXSyncWebDAVInspectFile::Items> BXSyncWebDAVInspectFileAuto::listPath(const Url& base,
                                                                                    const BXSyncModifiedItem& checkItem)
{
    const auto url = [&] {
        const auto plain = urlOf(base, checkItem.relativePath).withoutTrailingSlash();
        return (fs::isFolder(checkItem.path) ? plain.withTrailingSlash() : plain).absoluteString();
    };
    const auto asked = url();
    auto items = createWebDAVFileItems(asked, true);
    if (!items || !items->empty() || !hasDecomposedForm(checkItem.relativePath)) return items;
    if (!learnSpellings(base, checkItem.relativePath)) return std::nullopt;
    return url() == asked ? items : createWebDAVFileItems(url(), true);
}

bool BXSyncWebDAVInspectFileAuto::learnSpellings(const Url& base, const std::string& pathname)
{
    for (std::size_t begin = 0; begin != std::string::npos;) {
        const auto end = pathname.find('/', begin + 1);
        const auto name = std::string_view(pathname).substr(begin, end - begin);
        const auto folder = urlOf(base, pathname.substr(0, begin)).withTrailingSlash().absoluteString();
        begin = end;
        if (!hasDecomposedForm(name) || !learnt_.insert(folder).second) continue;
        auto items = createWebDAVFileItems(folder, true);
        if (!items) return false;
        for (auto& item : *items)
            nameItem(item, root());
    }
    return true;
}

} // namespace tidemark
