#pragma once

#include <string>

#include "SyncLibrary/BXSyncFileItem.h"

namespace tidemark {

/// One entry of a server listing; `path` is an absolute URL.
struct BXSyncWebDAVFileItem : BXSyncFileItem
{
    BXSyncWebDAVFileItem() = default;
    BXSyncWebDAVFileItem(std::string path, std::int64_t size, dates::Seconds time, bool isFolder, bool suspend = false);

    /// The URL of the folder, decoded.
    std::string parentPath() const override;
};

} // namespace tidemark
