#include "SyncLibrary/BXSyncFileOperations.h"

#include <algorithm>

#include "SyncLibrary/BXSyncAbort.h"

namespace tidemark {

namespace {

bool isFolder(const BXSyncFileDataInfo& record)
{
    return (record.state & SyncState::folder) != 0;
}

/// Neither the entry nor, below a folder, anything that is still there has changed since the last synchronisation.
bool isUntouched(const BXSyncFileDataInfo& record, BXSyncInspectFile& side)
{
    if (!record.hasChecked || SyncState::kind(record.state) != SyncState::unchanged) return false;
    const auto below = record.fileData.fileName + "/";
    const auto items = side.modifiedItems();
    return std::none_of(items.begin(), items.end(), [&](const BXSyncFileDataInfo* item) {
        return std::string_view(item->fileData.fileName).starts_with(below) && !SyncState::hasDeletedBit(item->state);
    });
}

} // namespace

BXSyncFileOperations::BXSyncFileOperations(const BXSyncRunContext& context, BXSyncInspectFile& localfile,
                                           BXSyncInspectFile* serverfile)
    : run_(context), localfile_(localfile), serverfile_(serverfile), transfer_(context)
{
}

bool BXSyncFileOperations::operate(BXSyncFileDataInfo& record)
{
    hasRecordToKeep_ = false;
    const auto& pathname = record.fileData.fileName;
    const auto url = run_.server.urlOf(pathname);
    const Item item{
        record, pathname, fs::lastPathComponent(pathname), url, url.displayString(), run_.local.shownPath(pathname)};
    const auto change = BXSyncPolicy::changeOf(record.state, serverfile_ != nullptr);
    switch (change) {
    case BXSyncChange::newServerFolder:
    case BXSyncChange::newLocalFolder:
    case BXSyncChange::newerLocalFile:
    case BXSyncChange::newerServerFile:
    case BXSyncChange::conflict:
        return fileOperateUpdate(item, change);
    case BXSyncChange::deletedLocally:
        return fileOperateLocalDelete(item);
    case BXSyncChange::deletedOnServer:
        return fileOperateServerDelete(item);
    case BXSyncChange::none:
        break;
    }
    return false;
}

bool BXSyncFileOperations::fileOperateUpdate(const Item& item, BXSyncChange change)
{
    auto operation = BXSyncOperation::nothing;
    if (change == BXSyncChange::conflict)
        operation = run_.confirmer.conflictOperation(item.record, item.name,
                                                     {item.localText, item.serverText, serverRecord(item.pathname)});
    switch (BXSyncPolicy::stepFor(change, operation)) {
    case BXSyncStep::createServerFolder:
        return createServerFolder(item);
    case BXSyncStep::createLocalFolder:
        return createLocalFolder(item);
    case BXSyncStep::uploadFile:
        return upload(item);
    case BXSyncStep::downloadFile:
        return download(item);
    case BXSyncStep::cancelRun:
        run_.confirmer.cancelRun();
    case BXSyncStep::deleteOnServer:
    case BXSyncStep::deleteLocally:
    case BXSyncStep::restoreFromServer:
    case BXSyncStep::restoreOnServer:
    case BXSyncStep::leaveAlone:
    case BXSyncStep::leaveOpen:
        break;
    }
    return false;
}

bool BXSyncFileOperations::createServerFolder(const Item& item)
{
    const auto* listed = serverRecord(item.pathname);
    const auto kind = run_.server.probe(item.url, !listed || isFolder(*listed));
    if (!kind) return fail(item, kind.error(), item.name);
    if (*kind == BXSyncServerFolder::Kind::folder) return true;
    const bool makesRoom = *kind == BXSyncServerFolder::Kind::file;
    if (makesRoom && !makeRoomOnServer(item, false)) return false;
    run_.logger.info("Create folder: {}", item.serverText);
    if (const auto made = run_.server.makeFolder(item.pathname); !made) {
        if (makesRoom) forget(item.pathname);
        return fail(item, made.error(), item.name);
    }
    run_.logger.info("Created folder: {}", item.serverText);
    return true;
}

bool BXSyncFileOperations::createLocalFolder(const Item& item)
{
    if (run_.local.isFolder(item.pathname)) return true;
    if (run_.local.isPresent(item.pathname) && !makeRoomLocally(item, false)) return false;
    run_.logger.info("Create folder: {}", item.localText);
    if (const auto made = run_.local.makeFolder(item.pathname); !made) return fail(item, made.error(), item.name);
    run_.logger.info("Created folder: {}", item.localText);
    copyServerRecord(item.pathname);
    return true;
}

bool BXSyncFileOperations::upload(const Item& item)
{
    const auto* listed = serverRecord(item.pathname);
    const bool makesRoom = listed && isFolder(*listed);
    if (makesRoom && !makeRoomOnServer(item, true)) return false;
    showTransfer(item.localText, item.serverText, item.record.size);
    const auto uploaded = transfer_.uploadsub(item.pathname);
    if (uploaded.recordedTime) item.record.fileData.dateLastModified = *uploaded.recordedTime;
    hasRecordToKeep_ = uploaded.recordedTime.has_value();
    if (makesRoom && uploaded.done) replaced_.insert(item.pathname);
    if (makesRoom && !uploaded.done) forget(item.pathname);
    return uploaded.done;
}

bool BXSyncFileOperations::download(const Item& item)
{
    if (run_.local.isFolder(item.pathname) && !makeRoomLocally(item, true)) return false;
    const auto* listed = serverRecord(item.pathname);
    showTransfer(item.serverText, item.localText, listed ? listed->size : item.record.size);
    return fetch(item, listed);
}

bool BXSyncFileOperations::fetch(const Item& item, const BXSyncFileDataInfo* listed)
{
    const bool wasPresent = run_.local.isPresent(item.pathname);
    const bool done = transfer_.downloadsub(item.pathname, listed);
    if (!listed || SyncState::kind(listed->state) != SyncState::suspended) copyServerRecord(item.pathname);
    if (!done && wasPresent && !run_.local.isPresent(item.pathname)) forget(item.pathname);
    return done;
}

/// The program itself has taken it away: recorded as it was, it would pass for deleted by a person.
void BXSyncFileOperations::forget(const std::string& pathname)
{
    auto* record = localfile_.getFileUpdate(pathname);
    if (!record) return;
    record->state = SyncState::deleted;
    hasRecordToKeep_ = true;
}

bool BXSyncFileOperations::fileOperateLocalDelete(const Item& item)
{
    const auto* listed = serverRecord(item.pathname);
    // What servers answer about a path below a file is anything but "missing".
    const auto kind = isBelowServerFile(item.pathname)
                          ? Result<BXSyncServerFolder::Kind>(BXSyncServerFolder::Kind::missing)
                          : run_.server.probe(item.url, listed && isFolder(*listed));
    if (!kind) return fail(item, kind.error(), item.name);
    if (*kind == BXSyncServerFolder::Kind::missing) {
        showDeletion(item.url.path());
        return true;
    }
    const auto operation = run_.confirmer.localDeleteOperation(item.record, item.name);
    switch (BXSyncPolicy::stepFor(BXSyncChange::deletedLocally, operation)) {
    case BXSyncStep::deleteOnServer:
        return deleteOnServer(item, *kind == BXSyncServerFolder::Kind::folder);
    case BXSyncStep::restoreFromServer:
        return restoreFromServer(item, *kind == BXSyncServerFolder::Kind::folder);
    case BXSyncStep::cancelRun:
        run_.confirmer.cancelRun();
    case BXSyncStep::leaveAlone:
        return true;
    case BXSyncStep::createServerFolder:
    case BXSyncStep::createLocalFolder:
    case BXSyncStep::uploadFile:
    case BXSyncStep::downloadFile:
    case BXSyncStep::deleteLocally:
    case BXSyncStep::restoreOnServer:
    case BXSyncStep::leaveOpen:
        break;
    }
    return false;
}

bool BXSyncFileOperations::isBelowServerFile(std::string_view pathname) const
{
    for (auto end = pathname.rfind('/'); end != 0 && end != std::string_view::npos; end = pathname.rfind('/')) {
        pathname = pathname.substr(0, end);
        const auto* listed = serverRecord(pathname);
        // A record that this run has not looked at does not know what it is.
        if (listed && listed->hasChecked && !isFolder(*listed)) return true;
        if (replaced_.contains(pathname)) return true;
    }
    return false;
}

bool BXSyncFileOperations::deleteOnServer(const Item& item, bool isFolder)
{
    showDeletion(item.url.path());
    if (run_.local.isPresent(item.pathname))
        return fail(item, engineError("LOCALFILE_CHANGED", "The file is there again. path:" + item.localText),
                    item.name);
    return removeFromServer(item, isFolder);
}

bool BXSyncFileOperations::removeFromServer(const Item& item, bool isFolder)
{
    const auto* what = isFolder ? "Folder" : "File";
    run_.logger.info("Deleting {}: {}", what, item.serverText);
    if (const auto removed = run_.server.remove(item.url, isFolder); !removed) {
        run_.confirmer.noteError(item.pathname, removed.error());
        return false;
    }
    run_.logger.info("Deleted {}: {}", what, item.serverText);
    return true;
}

bool BXSyncFileOperations::restoreFromServer(const Item& item, bool isFolder)
{
    const auto* listed = serverRecord(item.pathname);
    if (!isFolder) {
        const auto size = listed ? listed->size : 0;
        run_.progress.addTotalFileSize(size);
        showTransfer(item.serverText, item.localText, size);
        return fetch(item, listed);
    }
    run_.logger.info("Createing Folder: {}", item.localText);
    const auto made = run_.local.makeFolder(item.pathname);
    if (made) run_.logger.info("Created Folder: {}", item.localText);
    countFolder(item.serverText, item.localText);
    if (!made) return fail(item, made.error(), item.name);
    copyServerRecord(item.pathname);
    // A restored folder counts as open, so that what is in it is listed again.
    return false;
}

bool BXSyncFileOperations::fileOperateServerDelete(const Item& item)
{
    if (!run_.local.isPresent(item.pathname)) {
        showDeletion(item.localText);
        copyServerRecord(item.pathname);
        return true;
    }
    const bool isFolder = run_.local.isFolder(item.pathname);
    // What is left of an interrupted download of a file that is gone is nobody's.
    if (!isFolder && isPart(item.pathname)) return deleteLocally(item, false);
    const auto operation = run_.confirmer.serverDeleteOperation(item.record, item.name);
    switch (BXSyncPolicy::stepFor(BXSyncChange::deletedOnServer, operation)) {
    case BXSyncStep::deleteLocally:
        return deleteLocally(item, isFolder);
    case BXSyncStep::restoreOnServer:
        return restoreOnServer(item, isFolder);
    case BXSyncStep::cancelRun:
        run_.confirmer.cancelRun();
    case BXSyncStep::leaveAlone:
        return true;
    case BXSyncStep::createServerFolder:
    case BXSyncStep::createLocalFolder:
    case BXSyncStep::uploadFile:
    case BXSyncStep::downloadFile:
    case BXSyncStep::deleteOnServer:
    case BXSyncStep::restoreFromServer:
    case BXSyncStep::leaveOpen:
        break;
    }
    return false;
}

bool BXSyncFileOperations::makeRoomOnServer(const Item& item, bool isFolder)
{
    const auto* listed = serverRecord(item.pathname);
    const auto decision = listed && isUntouched(*listed, *serverfile_)
                              ? run_.confirmer.localDeleteOperation(*listed, item.name)
                              : BXSyncOperation::nothing;
    switch (BXSyncPolicy::stepFor(BXSyncChange::deletedLocally, decision)) {
    case BXSyncStep::deleteOnServer:
        return removeFromServer(item, isFolder);
    case BXSyncStep::cancelRun:
        run_.confirmer.cancelRun();
    default:
        return fail(item,
                    engineError("SERVERFILE_OBSTRUCTED",
                                "A file here and a folder on the server, or the other way round, have the same name. "
                                "path:" +
                                    item.serverText),
                    item.name);
    }
}

bool BXSyncFileOperations::makeRoomLocally(const Item& item, bool isFolder)
{
    const auto* scanned = localfile_.getFileUpdate(item.pathname);
    const auto decision = scanned && isUntouched(*scanned, localfile_)
                              ? run_.confirmer.serverDeleteOperation(*scanned, item.name)
                              : BXSyncOperation::nothing;
    switch (BXSyncPolicy::stepFor(BXSyncChange::deletedOnServer, decision)) {
    case BXSyncStep::deleteLocally:
        if (!deleteLocally(item, isFolder)) return false;
        forget(item.pathname);
        return true;
    case BXSyncStep::cancelRun:
        run_.confirmer.cancelRun();
    default:
        return fail(item,
                    engineError("LOCALFILE_OBSTRUCTED",
                                "A file on the server and a folder here, or the other way round, have the same name. "
                                "path:" +
                                    item.localText),
                    item.name);
    }
}

bool BXSyncFileOperations::isPart(const std::string& pathname) const
{
    const auto path = run_.local.locate(pathname);
    return path && BXSyncUtils::isSuspendedFile(*path);
}

bool BXSyncFileOperations::deleteLocally(const Item& item, bool isFolder)
{
    if (serverfile_) showDeletion(item.localText);
    if (const auto unchanged = run_.local.checkUnchanged(item.pathname); !unchanged)
        return fail(item, unchanged.error(), item.name);
    const auto* what = isFolder ? "Folder" : "File";
    run_.logger.info("Deleting {}: {}", what, item.localText);
    if (const auto removed = run_.local.remove(item.pathname); !removed) {
        run_.confirmer.noteError(item.pathname, engineError("SYNC_ERROR", removed.error().description()));
        throw BXSyncAbort(BXSyncAbort::error, removed.error());
    }
    run_.logger.info("Deleted {}: {}", what, item.localText);
    copyServerRecord(item.pathname);
    return true;
}

bool BXSyncFileOperations::restoreOnServer(const Item& item, bool isFolder)
{
    return isFolder ? restoreFolderOnServer(item) : restoreFileOnServer(item);
}

bool BXSyncFileOperations::restoreFolderOnServer(const Item& item)
{
    run_.logger.info("Createing Folder: {}", item.serverText);
    const auto made = run_.server.makeFolder(item.pathname);
    if (made)
        run_.logger.info("Created Folder: {}", item.serverText);
    else
        run_.confirmer.noteError(item.pathname, made.error());
    countFolder(item.localText, item.serverText);
    auto restored = item.record;
    restored.state = SyncState::added | SyncState::up;
    restored.fileData.dateLastModified = item.record.oldDateLastModified;
    storeRecord(restored);
    return made.has_value();
}

bool BXSyncFileOperations::restoreFileOnServer(const Item& item)
{
    const auto path = run_.local.locate(item.pathname);
    const auto present = path ? fs::attributes(*path) : failure(path.error());
    const auto size = present ? present->size : 0;
    run_.progress.addTotalFileSize(size);
    showTransfer(item.localText, item.serverText, size);
    const auto uploaded = transfer_.uploadsub(item.pathname);
    auto& restored = item.record;
    restored.state = SyncState::added | SyncState::up;
    restored.fileData.dateLastModified = uploaded.recordedTime.value_or(restored.oldDateLastModified);
    storeRecord(restored);
    hasRecordToKeep_ = uploaded.recordedTime.has_value();
    return uploaded.done;
}

void BXSyncFileOperations::countFolder(const std::string& source, const std::string& dest)
{
    run_.progress.addTotalFileSize(0);
    run_.progress.setFileName(source, dest, 0);
    run_.progress.finish();
    run_.progress.update();
}

bool BXSyncFileOperations::fail(const Item& item, const Error& error, const std::string& filename)
{
    run_.confirmer.confirmError(item.pathname, error, filename);
    return false;
}

void BXSyncFileOperations::showTransfer(const std::string& source, const std::string& dest, std::int64_t size)
{
    run_.progress.setFileName(source, dest, size);
    run_.progress.update();
}

void BXSyncFileOperations::showDeletion(const std::string& path)
{
    run_.progress.setDeleteFileName(path);
    run_.progress.update();
}

const BXSyncFileDataInfo* BXSyncFileOperations::serverRecord(std::string_view pathname) const
{
    return serverfile_ ? serverfile_->getFileUpdate(pathname) : nullptr;
}

void BXSyncFileOperations::copyServerRecord(const std::string& pathname)
{
    const auto* record = serverRecord(pathname);
    if (record && serverfile_ != &localfile_) storeRecord(*record);
}

void BXSyncFileOperations::storeRecord(const BXSyncFileDataInfo& record)
{
    if (!localfile_.updateSyncInfo(record)) localfile_.appendFileUpdate(record);
}

} // namespace tidemark
