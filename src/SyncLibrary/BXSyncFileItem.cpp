#include "SyncLibrary/BXSyncFileItem.h"

#include "platform/Unicode.h"

namespace tidemark {

namespace {

std::string pathnameBelow(std::string_view path, std::string_view basepath)
{
    auto pathname = toNfc(path.substr(std::min(basepath.size(), path.size())));
    return pathname.starts_with('/') ? pathname : "/" + pathname;
}

} // namespace

BXSyncFileItem::BXSyncFileItem(std::string itemPath, std::string_view basepath, bool isSuspended)
    : BXSyncFileItem(itemPath, basepath, fs::attributes(itemPath).value_or(fs::Attributes{}), isSuspended)
{
}

BXSyncFileItem::BXSyncFileItem(std::string itemPath, std::string_view basepath, const fs::Attributes& attributes,
                               bool isSuspended)
    : path(std::move(itemPath)), size(attributes.size), time(attributes.modified),
      isFolder(attributes.kind == fs::FileKind::folder), pathname(pathnameBelow(path, basepath)), suspend(isSuspended)
{
}

std::string BXSyncFileItem::parentPath() const
{
    return fs::parentPath(path);
}

} // namespace tidemark
