#include "SyncLibrary/BXSyncInspectFile.h"

#include <algorithm>
#include <exception>

#include "Logger/BXLogger.h"
#include "SyncLibrary/BXSyncLocalListing.h"
#include "SyncLibrary/BXSyncUtils.h"
#include "platform/FileAbsence.h"
#include "platform/FileSystem.h"
#include "platform/KeyedArchive.h"

namespace tidemark {

namespace {

/// A name as a pathname of the scans: "/" before every component, none of them empty, "." or "..".
bool isPathname(std::string_view name)
{
    if (!name.starts_with('/')) return false;
    while (!name.empty()) {
        name.remove_prefix(1);
        const auto component = name.substr(0, name.find('/'));
        if (component.empty() || component == "." || component == "..") return false;
        name.remove_prefix(component.size());
    }
    return true;
}

} // namespace

BXSyncInspectFile::BXSyncInspectFile(std::shared_ptr<LogFacade> logger) : BXSyncInspectFile(false, std::move(logger)) {}

BXSyncInspectFile::BXSyncInspectFile(bool isErrorSkip, std::shared_ptr<LogFacade> logger)
    : isErrorSkip_(isErrorSkip), logger_(logger ? std::move(logger) : BXLogger::getLogger())
{
}

Result<bool> BXSyncInspectFile::readSyncInfo(const std::string& path)
{
    fileUpdate_.clear();
    fileUpdateTable_.clear();
    if (const auto found = fs::attributes(path); !found) {
        if (fs::isAbsence(found.error())) return false;
        return failure(found.error());
    }
    bool foreignName = false;
    const auto status = KeyedArchive::read(
        path,
        [&](const KeyedArchive::Record& stored) {
            BXSyncFileDataInfo record;
            record.fileData = {std::string(stored.name), stored.mod};
            foreignName = foreignName || !isPathname(stored.name);
            appendFileUpdate(std::move(record));
        },
        BXSyncFileData::archiveName);
    if (status && !foreignName) return true;
    fileUpdate_.clear();
    fileUpdateTable_.clear();
    if (!status) return failure(status.error());
    return failure("KeyedArchive", -1, path + ": holds a name that is no path of a synchronised folder");
}

Status BXSyncInspectFile::writeSyncInfo(const std::string& path) const
{
    // A failure to make the folder shows when the file is written.
    static_cast<void>(fs::createFolders(fs::parentPath(path)));
    const auto isKept = [](const BXSyncFileDataInfo& record) { return !SyncState::hasDeletedBit(record.state); };
    const auto count = std::count_if(fileUpdate_.begin(), fileUpdate_.end(), isKept);
    auto at = fileUpdate_.begin();
    return KeyedArchive::write(path, BXSyncFileData::archiveName, static_cast<std::size_t>(count),
                               [&](KeyedArchive::Record& next) {
                                   at = std::find_if(at, fileUpdate_.end(), isKept);
                                   if (at == fileUpdate_.end()) return false;
                                   next = {at->fileData.fileName, at->fileData.dateLastModified};
                                   ++at;
                                   return true;
                               });
}

std::int64_t BXSyncInspectFile::checkSyncInfo(const std::string& root, bool /*isAllUpdate*/)
{
    clearChecked();
    foldersWithOtherSpellings_.clear();
    knowsSpellings_ = true;
    const auto count = searchFile(root);
    if (count < 0) return count;
    return count + markUnseenDeleted([](std::string_view) { return true; });
}

std::int64_t BXSyncInspectFile::searchFile(const std::string& folder, const std::string& basepath)
{
    const auto listing = BXSyncLocalListing::read(folder, basepath);
    if (!listing) {
        logger_->error("The folder cannot be read. {}", listing.error().description());
        return -1;
    }
    if (listing->holdsOtherSpellings) foldersWithOtherSpellings_.insert(folder);
    for (const auto& remark : listing->remarks)
        logger_->warning("{}", remark);
    std::int64_t count = 0;
    for (const auto& file : listing->files)
        count += checkFileItem(file, basepath) ? 1 : 0;
    for (const auto& subfolder : listing->folders) {
        const auto below = checkDirItem(subfolder, basepath, true);
        if (below < 0) return -1;
        count += below;
    }
    return count;
}

bool BXSyncInspectFile::mayHoldOtherSpellings(const std::string& folder) const
{
    return !knowsSpellings_ || foldersWithOtherSpellings_.contains(folder);
}

bool BXSyncInspectFile::checkFileItem(const BXSyncFileItem& item, const std::string& /*basepath*/)
{
    if (auto* known = getFileUpdate(item.pathname)) return classifyKnownFile(*known, item);
    addNewFile(item);
    return true;
}

bool BXSyncInspectFile::classifyKnownFile(BXSyncFileDataInfo& record, const BXSyncFileItem& item)
{
    const auto stored = record.fileData.dateLastModified;
    const auto change = [&](std::int64_t state) {
        record.update = true;
        record.state = state;
        record.oldDateLastModified = stored;
        record.fileData.dateLastModified = item.time;
    };
    record.hasChecked = true;
    if (item.suspend)
        record.state = SyncState::suspended;
    else if (item.time > stored + timeTolerance)
        change(SyncState::newer);
    else if (stored - timeTolerance > item.time)
        change(SyncState::older);
    record.filePath = sharedParent(item);
    record.size = item.size;
    return record.update;
}

void BXSyncInspectFile::addNewFile(const BXSyncFileItem& item)
{
    BXSyncFileDataInfo record;
    record.fileData = {item.pathname, item.time};
    record.hasChecked = true;
    record.update = !item.suspend;
    record.state = item.suspend ? SyncState::suspended : SyncState::added;
    record.filePath = sharedParent(item);
    record.size = item.size;
    appendFileUpdate(std::move(record));
}

std::int64_t BXSyncInspectFile::checkDirItem(const BXSyncFileItem& item, const std::string& basepath,
                                             bool checkRecursive)
{
    const std::int64_t own = noteFolder(item) ? 1 : 0;
    return checkRecursive ? descend(item, basepath, own) : own;
}

/// True for a new folder.
bool BXSyncInspectFile::noteFolder(const BXSyncFileItem& item)
{
    if (auto* known = getFileUpdate(item.pathname)) {
        known->hasChecked = true;
        known->state = SyncState::folder;
        return false;
    }
    BXSyncFileDataInfo record;
    record.fileData = {item.pathname, item.time};
    record.hasChecked = true;
    record.update = true;
    record.state = SyncState::folder | SyncState::added;
    record.filePath = sharedParent(item);
    record.size = -1;
    return appendFileUpdate(std::move(record));
}

std::int64_t BXSyncInspectFile::descend(const BXSyncFileItem& item, const std::string& basepath, std::int64_t own)
{
    try {
        const auto below = searchFile(item.path, basepath);
        return below < 0 ? -1 : own + below;
    } catch (const std::exception& exception) {
        if (!isErrorSkip_) throw;
        logger_->error("{}", exception.what());
        return own;
    }
}

std::int64_t BXSyncInspectFile::compareSyncInfo(const BXSyncInspectFile& other)
{
    for (auto& record : fileUpdate_) {
        if (!record.update && record.state != SyncState::unchanged) continue;
        if (const auto* theirs = other.getFileUpdate(record.fileData.fileName)) compareRecord(record, *theirs);
    }
    return 0;
}

void BXSyncInspectFile::compareRecord(BXSyncFileDataInfo& mine, const BXSyncFileDataInfo& theirs)
{
    const auto theirKind = SyncState::kind(theirs.state);
    if (mine.state == SyncState::unchanged) {
        // The other side holds the beginning of a file whose transfer was interrupted: do it again from here.
        if (theirKind == SyncState::suspended && mine.size > theirs.size) {
            mine.state = SyncState::newer;
            mine.update = true;
        }
        return;
    }
    if (mine.state < SyncState::newer || mine.state > SyncState::deleted) return;
    if (mine.state == SyncState::deleted) mine.filePath = theirs.filePath;
    mine.oldDateLastModified = theirs.fileData.dateLastModified;
    if (theirKind != SyncState::unchanged && theirKind != SyncState::suspended) mine.state |= SyncState::conflict;
}

void BXSyncInspectFile::noteFoldersInPlaceOfFiles(const BXSyncInspectFile& other)
{
    for (auto& record : fileUpdate_) {
        if (!record.hasChecked || record.state != SyncState::folder) continue;
        const auto* theirs = other.getFileUpdate(record.fileData.fileName);
        if (!theirs || !theirs->hasChecked || theirs->state != SyncState::unchanged) continue;
        record.state = SyncState::folder | SyncState::added;
        record.update = true;
    }
}

void BXSyncInspectFile::undoDeleteFolderOnOtherFileUpdated(const std::vector<BXSyncFileDataInfo*>& otherItems)
{
    std::vector<std::string_view> changed;
    changed.reserve(otherItems.size());
    for (const auto* item : otherItems)
        changed.push_back(item->fileData.fileName);
    std::sort(changed.begin(), changed.end());
    for (auto& record : fileUpdate_) {
        if (!record.update || SyncState::direction(record.state) != 0 || !SyncState::hasDeletedBit(record.state))
            continue;
        const auto prefix = record.fileData.fileName + "/";
        const auto first = std::lower_bound(changed.begin(), changed.end(), prefix);
        if (first != changed.end() && first->starts_with(prefix)) record.update = false;
    }
}

std::vector<BXSyncFileDataInfo*> BXSyncInspectFile::modifiedItems()
{
    std::vector<BXSyncFileDataInfo*> items;
    for (auto& record : fileUpdate_)
        if (record.update) items.push_back(&record);
    return items;
}

BXSyncFileDataInfo* BXSyncInspectFile::getFileUpdate(std::string_view fileName)
{
    const auto position = fileUpdateTable_.find(fileName);
    return position ? &fileUpdate_[*position] : nullptr;
}

const BXSyncFileDataInfo* BXSyncInspectFile::getFileUpdate(std::string_view fileName) const
{
    const auto position = fileUpdateTable_.find(fileName);
    return position ? &fileUpdate_[*position] : nullptr;
}

bool BXSyncInspectFile::appendFileUpdate(BXSyncFileDataInfo record)
{
    if (fileUpdateTable_.find(record.fileData.fileName)) return false;
    fileUpdate_.push_back(std::move(record));
    fileUpdateTable_.addLast();
    return true;
}

bool BXSyncInspectFile::updateSyncInfo(const BXSyncFileDataInfo& record)
{
    auto* known = getFileUpdate(record.fileData.fileName);
    if (known == nullptr) return false;
    known->fileData.dateLastModified = record.fileData.dateLastModified;
    known->state = record.state;
    return true;
}

void BXSyncInspectFile::clearChecked()
{
    for (auto& record : fileUpdate_)
        record.hasChecked = false;
}

void BXSyncInspectFile::markDeleted(BXSyncFileDataInfo& record)
{
    record.update = true;
    record.state = SyncState::deleted;
    record.fileData.dateLastModified = 0;
}

/// The item's parent, one text for the records of a folder.
BXSyncSharedText BXSyncInspectFile::sharedParent(const BXSyncFileItem& item)
{
    const auto parent = item.parentPath();
    if (!(lastParent_ == parent)) lastParent_ = parent;
    return lastParent_;
}

} // namespace tidemark
