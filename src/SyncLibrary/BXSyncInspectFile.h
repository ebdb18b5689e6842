#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "SyncLibrary/BXSyncFileDataInfo.h"
#include "SyncLibrary/BXSyncFileItem.h"
#include "SyncLibrary/BXSyncNameIndex.h"
#include "platform/Result.h"

namespace tidemark {

class LogFacade;

/// Classifies every path of the local folder against the record of the last synchronisation (the sync-info file), and
/// keeps that record while a run carries changes out. Lives for one listup and its run; one thread at a time.
///
/// Records are only appended, never removed or reordered, and stay where they are in memory as long as the inspector
/// lives. Counts are numbers of paths to act on; -1 is a failure that has been logged.
class BXSyncInspectFile
{
public:
    using Records = std::deque<BXSyncFileDataInfo>;

    /// Seconds by which two times may differ and still count as equal.
    static constexpr double timeTolerance = 3.0;

    /// Without a logger the default one takes the messages.
    explicit BXSyncInspectFile(std::shared_ptr<LogFacade> logger = nullptr);
    /// `isErrorSkip`: an exception raised inside a subfolder is logged and the scan goes on.
    BXSyncInspectFile(bool isErrorSkip, std::shared_ptr<LogFacade> logger);
    virtual ~BXSyncInspectFile() = default;
    BXSyncInspectFile(const BXSyncInspectFile&) = delete;
    BXSyncInspectFile& operator=(const BXSyncInspectFile&) = delete;

    bool isErrorSkip() const { return isErrorSkip_; }
    void setErrorSkip(bool value) { isErrorSkip_ = value; }
    const std::shared_ptr<LogFacade>& logger() const { return logger_; }
    const Records& fileUpdate() const { return fileUpdate_; }

    /// Replaces the records by those of the file; false without a file, which means that nothing has been synchronised
    /// yet. A file that cannot be read is an error that names it, and leaves no record.
    Result<bool> readSyncInfo(const std::string& path);
    /// Writes all records but those whose state has the deleted bit; makes the folder. The file before is kept when
    /// this fails.
    Status writeSyncInfo(const std::string& path) const;

    /// Scans the tree at `root` (local path or server URL) and marks what was not found as deleted.
    virtual std::int64_t checkSyncInfo(const std::string& root, bool isAllUpdate = false);
    /// Scans one folder and all below it; pathnames count from `basepath`.
    virtual std::int64_t searchFile(const std::string& folder, const std::string& basepath);
    std::int64_t searchFile(const std::string& root) { return searchFile(root, root); }

    /// Whether the folder of the disk may hold a name that is not spelled in NFC: a scan of the whole tree has seen one
    /// there, or there was no such scan.
    bool mayHoldOtherSpellings(const std::string& folder) const;

    /// True when the path is to be acted on or new.
    bool checkFileItem(const BXSyncFileItem& item, const std::string& basepath);
    std::int64_t checkDirItem(const BXSyncFileItem& item, const std::string& basepath, bool checkRecursive);

    /// Marks conflicts with the other side and takes over its times. Always 0.
    std::int64_t compareSyncInfo(const BXSyncInspectFile& other);
    /// Where the other side still has the unchanged file of the last synchronisation, a folder here is new.
    void noteFoldersInPlaceOfFiles(const BXSyncInspectFile& other);
    /// Withdraws deletions of folders in which the other side has changes. `n log n` in the number of records.
    void undoDeleteFolderOnOtherFileUpdated(const std::vector<BXSyncFileDataInfo*>& otherItems);

    /// The records to act on, in the order of the list; owned by the inspector.
    std::vector<BXSyncFileDataInfo*> modifiedItems();

    /// Null where there is none.
    BXSyncFileDataInfo* getFileUpdate(std::string_view fileName);
    const BXSyncFileDataInfo* getFileUpdate(std::string_view fileName) const;
    /// Adds a record whose name is not known yet; false otherwise.
    bool appendFileUpdate(BXSyncFileDataInfo record);
    /// Takes time and state into the record of the same name; false where there is none.
    bool updateSyncInfo(const BXSyncFileDataInfo& record);

protected:
    /// Before a scan: no record has been seen.
    void clearChecked();
    /// After a scan: marks the records that were not seen and that `concerns` answers true for as deleted; their
    /// number.
    template <class Concerns>
    std::int64_t markUnseenDeleted(Concerns concerns)
    {
        std::int64_t count = 0;
        for (auto& record : fileUpdate_) {
            if (record.hasChecked || !concerns(record.fileData.fileName)) continue;
            markDeleted(record);
            ++count;
        }
        return count;
    }

private:
    static void markDeleted(BXSyncFileDataInfo& record);
    bool classifyKnownFile(BXSyncFileDataInfo& record, const BXSyncFileItem& item);
    void addNewFile(const BXSyncFileItem& item);
    bool noteFolder(const BXSyncFileItem& item);
    std::int64_t descend(const BXSyncFileItem& item, const std::string& basepath, std::int64_t own);
    void compareRecord(BXSyncFileDataInfo& mine, const BXSyncFileDataInfo& theirs);
    BXSyncSharedText sharedParent(const BXSyncFileItem& item);

    bool isErrorSkip_;
    std::shared_ptr<LogFacade> logger_;
    Records fileUpdate_;
    BXSyncNameIndex fileUpdateTable_{fileUpdate_};
    BXSyncSharedText lastParent_;
    bool knowsSpellings_ = false;
    std::set<std::string> foldersWithOtherSpellings_;
};

} // namespace tidemark
