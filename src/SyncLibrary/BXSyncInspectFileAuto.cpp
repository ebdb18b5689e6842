#include "SyncLibrary/BXSyncInspectFileAuto.h"

#include "Logger/LogFacade.h"
#include "SyncLibrary/BXSyncCheckedPaths.h"
#include "SyncLibrary/BXSyncUtils.h"
#include "platform/FileAbsence.h"
#include "platform/FileSystem.h"
#include "platform/Unicode.h"

namespace tidemark {

BXSyncInspectFileAuto::BXSyncInspectFileAuto(std::shared_ptr<LogFacade> logger,
                                             std::vector<BXSyncModifiedItem> checkItems)
    : BXSyncInspectFileAuto(false, std::move(logger), std::move(checkItems))
{
}

BXSyncInspectFileAuto::BXSyncInspectFileAuto(bool isErrorSkip, std::shared_ptr<LogFacade> logger,
                                             std::vector<BXSyncModifiedItem> checkItems)
    : BXSyncInspectFile(isErrorSkip, std::move(logger)), checkItems_(std::move(checkItems))
{
}

std::int64_t BXSyncInspectFileAuto::checkSyncInfo(const std::string& root, bool isAllUpdate)
{
    const BXSyncCheckedPaths paths(checkItems_);
    if (paths.isWholeTree()) return BXSyncInspectFile::checkSyncInfo(root, isAllUpdate);
    if (!fs::isFolder(root)) {
        // All paths are missing with it, which must not pass for their deletion.
        logger()->error("The folder cannot be read. {}", root);
        return -1;
    }
    clearChecked();
    std::int64_t count = 0;
    for (const auto& checkItem : checkItems_) {
        if (checkItem.modifiedType >= BXSyncModifiedItem::deletion) continue;
        const auto own = checkPath(checkItem, root);
        if (own < 0) return -1;
        count += own;
    }
    return count + markUnseenDeleted([&](std::string_view name) { return paths.covers(name); });
}

/// A path that is gone meanwhile counts 0, like one that a full scan leaves out.
std::int64_t BXSyncInspectFileAuto::checkPath(const BXSyncModifiedItem& checkItem, const std::string& root)
{
    const auto path = fs::resolve(root, checkItem.relativePath);
    if (!path || !isUtf8(*path)) return 0;
    const auto attributes = fs::attributes(*path);
    if (!attributes && !fs::isAbsence(attributes.error())) {
        // What cannot be looked at must not pass for deleted.
        logger()->error("The folder cannot be read. {}", attributes.error().description());
        return -1;
    }
    if (!attributes || attributes->kind == fs::FileKind::other) return 0;
    const bool isFolder = attributes->kind == fs::FileKind::folder;
    if (isFolder && attributes->isLink) return 0;
    const BXSyncFileItem item(*path, root, *attributes, !isFolder && BXSyncUtils::isSuspendedFile(*path));
    if (isFolder) return checkDirItem(item, root, true);
    return checkFileItem(item, root) ? 1 : 0;
}

} // namespace tidemark
