#pragma once

#include <functional>
#include <memory>
#include <string>
#include <unordered_set>
#include <vector>

#include "SyncLibrary/BXSyncFileOperations.h"
#include "SyncLibrary/BXSyncListup.h"
#include "SyncLibrary/BXSyncRunReport.h"

namespace tidemark {

/// Carries a list of changes out, once, in order, and writes what is done to the sync-info file.
///
/// Invariant of the file: a record holds a time that both sides carried after the path was last synchronised. So a run
/// whose items are all done writes all of its records; otherwise only those of finished items go into the file, and the
/// others stay as they were and are found again; a run that ends early before anything has failed writes nothing.
class BXSyncExecutor
{
public:
    /// `localfile` holds the records that become the sync-info; `serverfile` may be null, or the same object.
    /// `confirmDelegate` may be null. All outlive this.
    BXSyncExecutor(const BXSyncRunContext& context, BXSyncInspectFile& localfile, BXSyncInspectFile* serverfile,
                   BXSyncConfirmDelegate* confirmDelegate);

    BXSyncRunOutcome run(const BXSyncChangeList& changes);

private:
    BXSyncRunOutcome carryOut(const BXSyncChangeList& changes);
    void planDownloads(const BXSyncChangeList& changes);
    void operate(BXSyncFileDataInfo& item);
    void reportFatal(const std::string& reason, const std::string& detail);
    bool writeAll();
    bool mergeFinished(const BXSyncChangeList& changes);
    bool isToBeKept(const BXSyncFileDataInfo& item) const;
    bool write(const BXSyncInspectFile& records);

    const BXSyncRunContext& run_;
    BXSyncInspectFile& localfile_;
    BXSyncInspectFile* const serverfile_;
    BXSyncConfirmDelegate* const confirmDelegate_;
    BXSyncFileOperations operations_;
    bool anyFailed_ = false;
    /// Items that are not done and whose records are kept all the same; few.
    std::unordered_set<const BXSyncFileDataInfo*> unfinishedToKeep_;
};

} // namespace tidemark
