#pragma once

#include <string>

#include "SyncLibrary/BXSyncFileItem.h"
#include "SyncLibrary/BXSyncInspectFile.h"
#include "platform/FileSystem.h"
#include "platform/Result.h"

namespace tidemark {

/// The local folder while a run changes it. What happened there after the changes were listed is found out before
/// anything is overwritten or deleted, and fails the item, so that the next listing sees it. Errors carry a message key
/// and a text for the log.
class BXSyncLocalFolder
{
public:
    /// `scanned` holds what the listing saw, and outlives this.
    BXSyncLocalFolder(std::string root, const BXSyncInspectFile& scanned);

    /// For people: the path in NFC, whatever the disk's spelling.
    std::string shownPath(const std::string& pathname) const;
    /// Where the entry lies or would be made. Fails where a link is on the way.
    Result<std::string> locate(const std::string& pathname) const;
    /// A file that can be read, or why there is none.
    Result<fs::Attributes> readableFile(const std::string& diskPath) const;
    /// Something is there that a listing would show.
    bool isPresent(const std::string& pathname) const;
    bool isFolder(const std::string& pathname) const;

    /// The place of a file that is to be downloaded: it is as the listing saw it, absent included, and the folder that
    /// it lies in is there.
    Result<std::string> prepareTarget(const std::string& pathname) const;
    /// The entry, and all that is synchronised below it, is what the listing saw.
    Status checkUnchanged(const std::string& pathname) const;

    /// With the folders above; an existing folder is no failure.
    Status makeFolder(const std::string& pathname) const;
    /// What the disk says, without a message key. A missing entry is no failure.
    Status remove(const std::string& pathname) const;

private:
    Result<std::string> resolve(const std::string& pathname) const;
    Status checkEntry(const std::string& diskPath, const std::string& pathname) const;
    Status checkTree(const std::string& diskFolder, const std::string& root) const;
    bool isAsListed(const BXSyncFileItem& item) const;
    bool isListedAbsent(const std::string& pathname) const;

    const std::string root_;
    const BXSyncInspectFile& scanned_;
};

} // namespace tidemark
