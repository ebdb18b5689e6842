#pragma once

#include <cstdint>
#include <optional>

#include "SyncLibrary/BXSyncConfirmInfo.h"
#include "config/BXSyncConf.h"
#include "platform/Dates.h"

namespace tidemark {

/// What to do with a conflict or a deletion; the codes of the configuration's policies.
enum class BXSyncOperation : std::int64_t
{
    ask = 0,
    cancelRun = 1,
    remove = 2,
    upload = 3,
    download = 4,
    mostRecent = 5,
    nothing = 6
};

/// The three policies of a run. An answer that is to stand for the rest of the run replaces its policy.
struct BXSyncOperations
{
    BXSyncOperation conflict = BXSyncOperation::ask;
    BXSyncOperation serverDelete = BXSyncOperation::ask;
    BXSyncOperation localDelete = BXSyncOperation::ask;

    static BXSyncOperations of(const BXSyncConf& conf);
    /// A run in one direction settles what concerns the other one.
    void settleFor(SyncMode mode);
};

/// What kind of work a change is.
enum class BXSyncChange
{
    newServerFolder,
    newLocalFolder,
    newerLocalFile,
    newerServerFile,
    conflict,
    deletedLocally,
    deletedOnServer,
    /// A state that is never to be acted on.
    none
};

/// What is done about a change.
enum class BXSyncStep
{
    createServerFolder,
    createLocalFolder,
    uploadFile,
    downloadFile,
    deleteOnServer,
    deleteLocally,
    restoreFromServer,
    restoreOnServer,
    /// Nothing, and the change counts as dealt with.
    leaveAlone,
    /// Nothing, and the change comes up again.
    leaveOpen,
    cancelRun
};

/// An answer as an operation.
struct BXSyncDecision
{
    BXSyncOperation operation = BXSyncOperation::cancelRun;
    bool persistent = false;

    friend bool operator==(const BXSyncDecision&, const BXSyncDecision&) = default;
};

/// Chooses; touches nothing.
namespace BXSyncPolicy {

/// `state` is a record's; without a listing of the server everything goes up.
BXSyncChange changeOf(std::int64_t state, bool hasServerListing);

/// The operation is never `ask`, and `mostRecent` only after resolveRecent().
BXSyncStep stepFor(BXSyncChange change, BXSyncOperation operation);

/// Equal dates count as the local side's being recent.
BXSyncOperation resolveRecent(BXSyncOperation operation, dates::Seconds local, dates::Seconds server);

/// Without an answer: the most recent side, for the rest of the run.
BXSyncDecision conflictDecision(const std::optional<BXSyncConfirmResult>& answer);
/// Without an answer the run ends.
BXSyncDecision localDeleteDecision(const std::optional<BXSyncConfirmResult>& answer);
BXSyncDecision serverDeleteDecision(const std::optional<BXSyncConfirmResult>& answer);

/// Where there is nobody to ask.
BXSyncOperation unaskedLocalDelete(SyncMode mode);
BXSyncOperation unaskedServerDelete(SyncMode mode);

} // namespace BXSyncPolicy

} // namespace tidemark
