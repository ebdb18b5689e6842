#pragma once

#include <optional>
#include <string>

#include "Logger/LogFacade.h"
#include "SyncLibrary/BXSyncCommandRunner.h"
#include "SyncLibrary/BXSyncConfirmInfo.h"
#include "SyncLibrary/BXSyncFileDataInfo.h"
#include "SyncLibrary/BXSyncPolicy.h"
#include "SyncLibrary/BXSyncQuestions.h"
#include "SyncLibrary/BXSyncRunReport.h"

namespace tidemark {

/// Settles what is open about an item: by the run's policy, else by asking. A cancel, given as an answer or before,
/// sets the run's cancel flag and leaves as BXSyncAbort.
class BXSyncConfirmer
{
public:
    /// `confirmDelegate` may be null; all outlive this. An answer that is to stand for the rest of the run goes into
    /// `operations`.
    BXSyncConfirmer(BXSyncConfirmDelegate* confirmDelegate, BXSyncOperations& operations, SyncMode mode, bool errorskip,
                    BXSyncCommandRunner& runner, BXSyncRunReport& report, LogFacade& logger);

    /// Upload, download, or an operation that leaves the conflict open.
    BXSyncOperation conflictOperation(const BXSyncFileDataInfo& item, const std::string& filename,
                                      const BXSyncQuestions::ConflictSides& sides);
    BXSyncOperation localDeleteOperation(const BXSyncFileDataInfo& item, const std::string& filename);
    BXSyncOperation serverDeleteOperation(const BXSyncFileDataInfo& item, const std::string& filename);

    /// Logs and reports that an item is not done.
    void noteError(const std::string& pathname, const Error& error);
    /// The same, and asks whether the run is to go on; returns when it is.
    void confirmError(const std::string& pathname, const Error& error, const std::string& filename);
    /// Asks about a name that the server cannot hold; returns when it is to be skipped.
    void confirmUnusableName(const std::string& pathname, const std::string& localpath);
    /// Ends the run like a cancel of the user.
    [[noreturn]] void cancelRun();

private:
    std::optional<BXSyncConfirmResult> ask(const BXSyncConfirmInfo& info) const;
    BXSyncOperation settle(BXSyncDecision decision, BXSyncOperation& policy);

    BXSyncConfirmDelegate* const confirmDelegate_;
    BXSyncOperations& operations_;
    const SyncMode mode_;
    const bool errorskip_;
    BXSyncCommandRunner& runner_;
    BXSyncRunReport& report_;
    LogFacade& logger_;
};

} // namespace tidemark
