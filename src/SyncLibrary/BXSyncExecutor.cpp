#include "SyncLibrary/BXSyncExecutor.h"

#include "Logger/BXLogger.h"
#include "SyncLibrary/BXSyncAbort.h"
#include "SyncLibrary/BXSyncQuestions.h"

namespace tidemark {

namespace {

bool mayBeDownloaded(const BXSyncFileDataInfo& item, bool hasServerListing)
{
    switch (BXSyncPolicy::changeOf(item.state, hasServerListing)) {
    case BXSyncChange::newerServerFile:
    case BXSyncChange::conflict:
    case BXSyncChange::deletedLocally:
        return true;
    case BXSyncChange::newServerFolder:
    case BXSyncChange::newLocalFolder:
    case BXSyncChange::newerLocalFile:
    case BXSyncChange::deletedOnServer:
    case BXSyncChange::none:
        break;
    }
    return false;
}

void mergeRecord(BXSyncInspectFile& stored, const BXSyncFileDataInfo& record)
{
    auto* old = stored.getFileUpdate(record.fileData.fileName);
    if (!old) {
        if (!SyncState::hasDeletedBit(record.state)) stored.appendFileUpdate(record);
    } else if (SyncState::hasDeletedBit(record.state)) {
        old->state = SyncState::deleted;
    } else {
        old->fileData.dateLastModified = record.fileData.dateLastModified;
    }
}

} // namespace

BXSyncExecutor::BXSyncExecutor(const BXSyncRunContext& context, BXSyncInspectFile& localfile,
                               BXSyncInspectFile* serverfile, BXSyncConfirmDelegate* confirmDelegate)
    : run_(context), localfile_(localfile), serverfile_(serverfile), confirmDelegate_(confirmDelegate),
      operations_(context, localfile, serverfile)
{
}

BXSyncRunOutcome BXSyncExecutor::run(const BXSyncChangeList& changes)
{
    auto outcome = BXSyncRunOutcome::aborted;
    try {
        outcome = carryOut(changes);
    } catch (const BXSyncAbort& abort) {
        if (abort.reason() == BXSyncAbort::cancel) {
            run_.logger.info("Synchronization Cancel.");
            outcome = BXSyncRunOutcome::cancelled;
        } else {
            reportFatal(abort.reason(), abort.cause().description());
        }
    } catch (const std::exception& exception) {
        reportFatal(exception.what(), {});
    }
    if (anyFailed_ && !mergeFinished(changes)) return BXSyncRunOutcome::aborted;
    return outcome;
}

BXSyncRunOutcome BXSyncExecutor::carryOut(const BXSyncChangeList& changes)
{
    run_.progress.setTotalFiles(changes.totalFiles, changes.deleteFiles, changes.totalBytes, true);
    run_.progress.addSyncList(changes.items);
    run_.progress.update();
    run_.logger.info("Synchronizing Files...");
    planDownloads(changes);
    for (auto* item : changes.items)
        operate(*item);
    const bool written = anyFailed_ || writeAll();
    run_.logger.info("Synchronization Completed.");
    if (anyFailed_) return BXSyncRunOutcome::someItemsFailed;
    return written ? BXSyncRunOutcome::finished : BXSyncRunOutcome::aborted;
}

void BXSyncExecutor::planDownloads(const BXSyncChangeList& changes)
{
    std::vector<std::string> pathnames;
    for (const auto* item : changes.items)
        if (mayBeDownloaded(*item, serverfile_ != nullptr)) pathnames.push_back(item->fileData.fileName);
    run_.inflight.plan(std::move(pathnames));
}

void BXSyncExecutor::operate(BXSyncFileDataInfo& item)
{
    if (run_.runner.cancelFlg()) throw BXSyncAbort(BXSyncAbort::cancel);
    item.operateFinished = operations_.operate(item);
    if (!item.operateFinished) {
        anyFailed_ = true;
        if (operations_.hasRecordToKeep()) unfinishedToKeep_.insert(&item);
    }
    run_.progress.updatedFile(item);
    run_.progress.update();
}

void BXSyncExecutor::reportFatal(const std::string& reason, const std::string& detail)
{
    run_.logger.error("{} {}", reason, detail);
    run_.logger.error("{}", BXLogger::callStack());
    if (confirmDelegate_) confirmDelegate_->confirm(BXSyncQuestions::fatalError(detail));
}

bool BXSyncExecutor::write(const BXSyncInspectFile& records)
{
    // Records of files that a loss of power could still take away would make them look deleted or changed here.
    if (const auto flushed = run_.inflight.flush(); !flushed) {
        run_.logger.error("The downloaded files cannot be flushed. {}", flushed.error().description());
        return false;
    }
    const auto written = records.writeSyncInfo(run_.conf.syncinfoPath());
    if (!written) run_.logger.error("The sync info cannot be written. {}", written.error().description());
    return written.has_value();
}

bool BXSyncExecutor::writeAll()
{
    return write(localfile_);
}

bool BXSyncExecutor::isToBeKept(const BXSyncFileDataInfo& item) const
{
    return item.operateFinished || unfinishedToKeep_.contains(&item);
}

bool BXSyncExecutor::mergeFinished(const BXSyncChangeList& changes)
{
    BXSyncInspectFile stored(false, localfile_.logger());
    if (const auto read = stored.readSyncInfo(run_.conf.syncinfoPath()); !read) {
        run_.logger.error("The sync info cannot be read. {}", read.error().description());
        return false;
    }
    for (const auto* item : changes.items) {
        if (!isToBeKept(*item)) continue;
        if (const auto* record = localfile_.getFileUpdate(item->fileData.fileName)) mergeRecord(stored, *record);
    }
    return write(stored);
}

} // namespace tidemark
