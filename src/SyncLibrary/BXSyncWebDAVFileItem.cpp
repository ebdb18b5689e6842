#include "SyncLibrary/BXSyncWebDAVFileItem.h"

#include "SyncLibrary/BXSyncUtils.h"

namespace tidemark {

BXSyncWebDAVFileItem::BXSyncWebDAVFileItem(std::string url, std::int64_t bytes, dates::Seconds modified, bool folder,
                                           bool suspended)
{
    path = std::move(url);
    size = bytes;
    time = modified;
    isFolder = folder;
    suspend = suspended;
}

std::string BXSyncWebDAVFileItem::parentPath() const
{
    auto parent = fs::parentPath(path);
    return BXSyncUtils::stringByDecodingURLFormat(parent).value_or(parent);
}

} // namespace tidemark
