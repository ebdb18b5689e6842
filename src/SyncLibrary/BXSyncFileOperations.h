#pragma once

#include <set>
#include <string>

#include "SyncLibrary/BXSyncInspectFile.h"
#include "SyncLibrary/BXSyncPolicy.h"
#include "SyncLibrary/BXSyncRunContext.h"
#include "SyncLibrary/BXSyncTransfer.h"

namespace tidemark {

/// Carries single items of the list out and brings the records of the run up to date. Each operation answers whether
/// the item is done; a run that is to end leaves as BXSyncAbort.
class BXSyncFileOperations
{
public:
    /// `localfile` holds the records that become the sync-info; `serverfile` may be null, or the same object. All
    /// outlive this.
    BXSyncFileOperations(const BXSyncRunContext& context, BXSyncInspectFile& localfile, BXSyncInspectFile* serverfile);

    bool operate(BXSyncFileDataInfo& item);

    /// The item is not done, but what its record holds is to be kept.
    bool hasRecordToKeep() const { return hasRecordToKeep_; }

private:
    /// An item as its operations need it.
    struct Item
    {
        BXSyncFileDataInfo& record;
        std::string pathname;
        std::string name;
        Url url;
        /// Decoded URL and local path, for people.
        std::string serverText;
        std::string localText;
    };

    bool fileOperateUpdate(const Item& item, BXSyncChange change);
    bool fileOperateLocalDelete(const Item& item);
    bool fileOperateServerDelete(const Item& item);

    bool createServerFolder(const Item& item);
    bool createLocalFolder(const Item& item);
    bool upload(const Item& item);
    bool download(const Item& item);
    bool fetch(const Item& item, const BXSyncFileDataInfo* listed);
    void forget(const std::string& pathname);
    bool isBelowServerFile(std::string_view pathname) const;
    bool isPart(const std::string& pathname) const;
    bool deleteOnServer(const Item& item, bool isFolder);
    bool removeFromServer(const Item& item, bool isFolder);
    /// What became a folder (or a file) on one side is deleted there as what it was, if the other side still has that
    /// untouched and the policy for deletions agrees; otherwise the item fails. `isFolder`: what gives way.
    bool makeRoomOnServer(const Item& item, bool isFolder);
    bool makeRoomLocally(const Item& item, bool isFolder);
    bool restoreFromServer(const Item& item, bool isFolder);
    bool deleteLocally(const Item& item, bool isFolder);
    bool restoreOnServer(const Item& item, bool isFolder);
    bool restoreFolderOnServer(const Item& item);
    bool restoreFileOnServer(const Item& item);
    void countFolder(const std::string& source, const std::string& dest);

    /// False, after the item's error has been settled.
    bool fail(const Item& item, const Error& error, const std::string& filename);
    void showTransfer(const std::string& source, const std::string& dest, std::int64_t size);
    void showDeletion(const std::string& path);
    const BXSyncFileDataInfo* serverRecord(std::string_view pathname) const;
    void copyServerRecord(const std::string& pathname);
    void storeRecord(const BXSyncFileDataInfo& record);

    const BXSyncRunContext& run_;
    BXSyncInspectFile& localfile_;
    BXSyncInspectFile* const serverfile_;
    BXSyncTransfer transfer_;
    bool hasRecordToKeep_ = false;
    /// Folders of the server that files have replaced in this run.
    std::set<std::string, std::less<>> replaced_;
};

} // namespace tidemark
