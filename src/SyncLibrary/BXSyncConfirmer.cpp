#include "SyncLibrary/BXSyncConfirmer.h"

#include "SyncLibrary/BXSyncAbort.h"

namespace tidemark {

BXSyncConfirmer::BXSyncConfirmer(BXSyncConfirmDelegate* confirmDelegate, BXSyncOperations& operations, SyncMode mode,
                                 bool errorskip, BXSyncCommandRunner& runner, BXSyncRunReport& report,
                                 LogFacade& logger)
    : confirmDelegate_(confirmDelegate), operations_(operations), mode_(mode), errorskip_(errorskip), runner_(runner),
      report_(report), logger_(logger)
{
}

std::optional<BXSyncConfirmResult> BXSyncConfirmer::ask(const BXSyncConfirmInfo& info) const
{
    return confirmDelegate_ ? confirmDelegate_->confirm(info) : std::nullopt;
}

BXSyncOperation BXSyncConfirmer::settle(BXSyncDecision decision, BXSyncOperation& policy)
{
    if (decision.persistent) policy = decision.operation;
    if (decision.operation == BXSyncOperation::cancelRun) cancelRun();
    return decision.operation;
}

BXSyncOperation BXSyncConfirmer::conflictOperation(const BXSyncFileDataInfo& item, const std::string& filename,
                                                   const BXSyncQuestions::ConflictSides& sides)
{
    auto operation = operations_.conflict;
    if (operation == BXSyncOperation::ask)
        operation = settle(BXSyncPolicy::conflictDecision(ask(BXSyncQuestions::conflict(item, filename, sides))),
                           operations_.conflict);
    return BXSyncPolicy::resolveRecent(operation, item.fileData.dateLastModified, item.oldDateLastModified);
}

BXSyncOperation BXSyncConfirmer::localDeleteOperation(const BXSyncFileDataInfo& item, const std::string& filename)
{
    if (operations_.localDelete != BXSyncOperation::ask) return operations_.localDelete;
    if (!confirmDelegate_) return BXSyncPolicy::unaskedLocalDelete(mode_);
    const auto answer = ask(BXSyncQuestions::deleteOnServer(item, filename, mode_));
    return settle(BXSyncPolicy::localDeleteDecision(answer), operations_.localDelete);
}

BXSyncOperation BXSyncConfirmer::serverDeleteOperation(const BXSyncFileDataInfo& item, const std::string& filename)
{
    if (operations_.serverDelete != BXSyncOperation::ask) return operations_.serverDelete;
    if (!confirmDelegate_) return BXSyncPolicy::unaskedServerDelete(mode_);
    const auto answer = ask(BXSyncQuestions::deleteLocally(item, filename, mode_));
    return settle(BXSyncPolicy::serverDeleteDecision(answer), operations_.serverDelete);
}

void BXSyncConfirmer::noteError(const std::string& pathname, const Error& error)
{
    const auto log = error.value(BXSyncCommandRunning::logKey);
    logger_.error("{}", log);
    report_.itemFailed(pathname, {error.value(BXSyncCommandRunning::messageKey), log});
}

void BXSyncConfirmer::confirmError(const std::string& pathname, const Error& error, const std::string& filename)
{
    noteError(pathname, error);
    if (runner_.cancelFlg()) {
        logger_.error("Canceled synchronizing.");
        throw BXSyncAbort(BXSyncAbort::cancel);
    }
    if (errorskip_ || !confirmDelegate_) return;
    const auto answer = ask(BXSyncQuestions::fileFailure(error, filename));
    if (answer && answer->result != BXSyncQuestions::skipCode) cancelRun();
}

void BXSyncConfirmer::confirmUnusableName(const std::string& pathname, const std::string& localpath)
{
    report_.itemFailed(pathname, {"UPLOAD_UNUSABLE_NAME", "The server cannot hold the name. path:" + localpath});
    const auto answer = ask(BXSyncQuestions::unusableName(localpath));
    if (answer && answer->result != BXSyncQuestions::skipCode) cancelRun();
}

void BXSyncConfirmer::cancelRun()
{
    runner_.setCancelFlg(true);
    throw BXSyncAbort(BXSyncAbort::cancel);
}

} // namespace tidemark
