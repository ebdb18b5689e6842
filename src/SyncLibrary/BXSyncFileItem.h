#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/Dates.h"
#include "platform/FileSystem.h"

namespace tidemark {

/// One scanned entry of the local folder or, as BXSyncWebDAVFileItem, of the server folder.
struct BXSyncFileItem
{
    BXSyncFileItem() = default;
    /// Reads size, time and kind from the disk; an entry that is not there keeps 0, 0 and "file".
    BXSyncFileItem(std::string path, std::string_view basepath, bool suspend = false);
    /// With attributes that are known already.
    BXSyncFileItem(std::string path, std::string_view basepath, const fs::Attributes& attributes, bool suspend);
    virtual ~BXSyncFileItem() = default;
    BXSyncFileItem(const BXSyncFileItem&) = default;
    BXSyncFileItem& operator=(const BXSyncFileItem&) = default;
    BXSyncFileItem(BXSyncFileItem&&) = default;
    BXSyncFileItem& operator=(BXSyncFileItem&&) = default;

    /// `path` without its last component.
    virtual std::string parentPath() const;

    /// Absolute path as the disk spells it; an absolute URL on the server side.
    std::string path;
    /// Bytes.
    std::int64_t size = 0;
    /// Modification time.
    dates::Seconds time = 0;
    bool isFolder = false;
    /// Below the scan root, beginning with "/", in NFC: the key of the path on both sides.
    std::string pathname;
    /// Carries the mark of an interrupted transfer.
    bool suspend = false;
};

} // namespace tidemark
