#include "SyncLibrary/BXSyncPolicy.h"

#include "SyncLibrary/BXSyncFileDataInfo.h"

namespace tidemark {

BXSyncOperations BXSyncOperations::of(const BXSyncConf& conf)
{
    return {static_cast<BXSyncOperation>(conf.conflictOperate()),
            static_cast<BXSyncOperation>(conf.serverDeleteOperate()),
            static_cast<BXSyncOperation>(conf.localDeleteOperate())};
}

void BXSyncOperations::settleFor(SyncMode mode)
{
    switch (mode) {
    case SyncMode::twoWay:
        return;
    case SyncMode::uploadOnly:
        conflict = BXSyncOperation::upload;
        serverDelete = BXSyncOperation::nothing;
        return;
    case SyncMode::downloadOnly:
        conflict = BXSyncOperation::download;
        localDelete = BXSyncOperation::nothing;
        return;
    }
}

namespace BXSyncPolicy {

namespace {

BXSyncChange folderChange(std::int64_t state)
{
    return (state & SyncState::up) != 0 ? BXSyncChange::newServerFolder : BXSyncChange::newLocalFolder;
}

BXSyncChange fileChange(std::int64_t state, bool hasServerListing)
{
    const auto direction = SyncState::direction(state);
    if (direction == SyncState::conflict) return BXSyncChange::conflict;
    return direction == SyncState::down && hasServerListing ? BXSyncChange::newerServerFile
                                                            : BXSyncChange::newerLocalFile;
}

BXSyncStep conflictStep(BXSyncOperation operation)
{
    switch (operation) {
    case BXSyncOperation::upload:
        return BXSyncStep::uploadFile;
    case BXSyncOperation::download:
        return BXSyncStep::downloadFile;
    case BXSyncOperation::cancelRun:
        return BXSyncStep::cancelRun;
    case BXSyncOperation::ask:
    case BXSyncOperation::remove:
    case BXSyncOperation::mostRecent:
    case BXSyncOperation::nothing:
        break;
    }
    return BXSyncStep::leaveOpen;
}

BXSyncStep localDeleteStep(BXSyncOperation operation)
{
    switch (operation) {
    case BXSyncOperation::cancelRun:
        return BXSyncStep::cancelRun;
    case BXSyncOperation::remove:
        return BXSyncStep::deleteOnServer;
    case BXSyncOperation::download:
        return BXSyncStep::restoreFromServer;
    case BXSyncOperation::ask:
    case BXSyncOperation::upload:
    case BXSyncOperation::mostRecent:
    case BXSyncOperation::nothing:
        break;
    }
    return BXSyncStep::leaveAlone;
}

BXSyncStep serverDeleteStep(BXSyncOperation operation)
{
    switch (operation) {
    case BXSyncOperation::cancelRun:
        return BXSyncStep::cancelRun;
    case BXSyncOperation::remove:
        return BXSyncStep::deleteLocally;
    case BXSyncOperation::upload:
        return BXSyncStep::restoreOnServer;
    case BXSyncOperation::nothing:
        return BXSyncStep::leaveAlone;
    case BXSyncOperation::ask:
    case BXSyncOperation::download:
    case BXSyncOperation::mostRecent:
        break;
    }
    return BXSyncStep::leaveOpen;
}

} // namespace

BXSyncChange changeOf(std::int64_t state, bool hasServerListing)
{
    switch (SyncState::kind(state)) {
    case SyncState::newer:
    case SyncState::older:
    case SyncState::added:
        return (state & SyncState::folder) != 0 ? folderChange(state) : fileChange(state, hasServerListing);
    case SyncState::deleted:
        return (state & SyncState::up) != 0 ? BXSyncChange::deletedLocally : BXSyncChange::deletedOnServer;
    default:
        return BXSyncChange::none;
    }
}

BXSyncStep stepFor(BXSyncChange change, BXSyncOperation operation)
{
    switch (change) {
    case BXSyncChange::newServerFolder:
        return BXSyncStep::createServerFolder;
    case BXSyncChange::newLocalFolder:
        return BXSyncStep::createLocalFolder;
    case BXSyncChange::newerLocalFile:
        return BXSyncStep::uploadFile;
    case BXSyncChange::newerServerFile:
        return BXSyncStep::downloadFile;
    case BXSyncChange::conflict:
        return conflictStep(operation);
    case BXSyncChange::deletedLocally:
        return localDeleteStep(operation);
    case BXSyncChange::deletedOnServer:
        return serverDeleteStep(operation);
    case BXSyncChange::none:
        break;
    }
    return BXSyncStep::leaveOpen;
}

BXSyncOperation resolveRecent(BXSyncOperation operation, dates::Seconds local, dates::Seconds server)
{
    if (operation != BXSyncOperation::mostRecent) return operation;
    return server > local ? BXSyncOperation::download : BXSyncOperation::upload;
}

BXSyncDecision conflictDecision(const std::optional<BXSyncConfirmResult>& answer)
{
    if (!answer) return {BXSyncOperation::mostRecent, true};
    switch (answer->result) {
    case 0:
        return {BXSyncOperation::mostRecent, answer->persistence};
    case 1:
        return {BXSyncOperation::upload, answer->persistence};
    case 2:
        return {BXSyncOperation::download, answer->persistence};
    default:
        return {BXSyncOperation::cancelRun, answer->persistence};
    }
}

namespace {

BXSyncDecision deleteDecision(const std::optional<BXSyncConfirmResult>& answer, BXSyncOperation restore)
{
    if (!answer) return {BXSyncOperation::cancelRun, false};
    switch (answer->result) {
    case 0:
        return {restore, answer->persistence};
    case 1:
        return {BXSyncOperation::remove, answer->persistence};
    case 2:
        return {BXSyncOperation::nothing, answer->persistence};
    default:
        return {BXSyncOperation::cancelRun, answer->persistence};
    }
}

} // namespace

BXSyncDecision localDeleteDecision(const std::optional<BXSyncConfirmResult>& answer)
{
    return deleteDecision(answer, BXSyncOperation::download);
}

BXSyncDecision serverDeleteDecision(const std::optional<BXSyncConfirmResult>& answer)
{
    return deleteDecision(answer, BXSyncOperation::upload);
}

BXSyncOperation unaskedLocalDelete(SyncMode mode)
{
    return mode == SyncMode::uploadOnly ? BXSyncOperation::nothing : BXSyncOperation::remove;
}

BXSyncOperation unaskedServerDelete(SyncMode mode)
{
    return mode == SyncMode::downloadOnly ? BXSyncOperation::nothing : BXSyncOperation::remove;
}

} // namespace BXSyncPolicy

} // namespace tidemark
