#pragma once

#include <string>
#include <vector>

#include "SyncLibrary/BXSyncFileItem.h"
#include "platform/Result.h"

namespace tidemark {

/// What of one local folder is synchronised: files and folders whose names do not begin with "." and are UTF-8, sorted
/// by name. A link to a file counts as the file; other links, sockets, pipes and devices do not count. Of entries with
/// one NFC form the one that is spelled so counts, else the first.
struct BXSyncLocalListing
{
    std::vector<BXSyncFileItem> files;
    std::vector<BXSyncFileItem> folders;
    /// Some name is not spelled in NFC on the disk.
    bool holdsOtherSpellings = false;
    /// Lines for the log about entries that were left out.
    std::vector<std::string> remarks;

    static Result<BXSyncLocalListing> read(const std::string& folder, const std::string& basepath);
};

} // namespace tidemark
