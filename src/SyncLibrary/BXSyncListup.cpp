#include "SyncLibrary/BXSyncListup.h"

#include "SyncLibrary/BXSyncUtils.h"

namespace tidemark::BXSyncListup {

namespace {

using Items = std::vector<BXSyncFileDataInfo*>;

void append(BXSyncChangeList& list, BXSyncFileDataInfo& item)
{
    list.items.push_back(&item);
    if ((item.state & SyncState::folder) != 0) return;
    ++list.totalFiles;
    list.totalBytes += item.size;
    if (SyncState::hasDeletedBit(item.state)) ++list.deleteFiles;
}

void appendUnlessIgnored(BXSyncChangeList& list, BXSyncFileDataInfo& item, BXSyncOperation deletePolicy)
{
    if (deletePolicy == BXSyncOperation::nothing && SyncState::hasDeletedBit(item.state))
        list.ignoredDeletions.push_back(item.fileData.fileName);
    else
        append(list, item);
}

bool hasDirection(const BXSyncFileDataInfo& item)
{
    return SyncState::direction(item.state) != 0;
}

void buildUpload(BXSyncChangeList& list, const BXSyncOperations& operations, const Items& localItems)
{
    for (auto* item : localItems) {
        item->state |= SyncState::up;
        appendUnlessIgnored(list, *item, operations.localDelete);
    }
}

void buildDownload(BXSyncChangeList& list, const BXSyncOperations& operations, const Items& serverItems)
{
    for (auto* item : serverItems) {
        if (hasDirection(*item)) continue;
        item->state |= SyncState::down;
        appendUnlessIgnored(list, *item, operations.serverDelete);
    }
}

void buildTwoWay(BXSyncChangeList& list, const Items& localItems, const Items& serverItems)
{
    for (auto* item : localItems) {
        item->state |= SyncState::up;
        append(list, *item);
    }
    for (auto* item : serverItems) {
        if (hasDirection(*item)) continue;
        item->state |= SyncState::down;
        append(list, *item);
    }
}

std::string shown(dates::Seconds time)
{
    return BXSyncUtils::getStringForShow(dates::fromSeconds(time));
}

std::string datesOf(const BXSyncFileDataInfo& item)
{
    const auto local = shown(item.fileData.dateLastModified);
    if (SyncState::direction(item.state) != SyncState::conflict) return local;
    return "(Local) " + local + " (Server) " + shown(item.oldDateLastModified);
}

const char* directionText(std::int64_t direction)
{
    switch (direction) {
    case SyncState::up:
        return "[Upload ";
    case SyncState::down:
        return "[Download ";
    case SyncState::conflict:
        return "[Competition ";
    default:
        return "";
    }
}

const char* deletedText(std::int64_t direction)
{
    switch (direction) {
    case SyncState::up:
        return "[Deleted (Server)";
    case SyncState::down:
        return "[Deleted (Local)";
    default:
        return "[Deleted (Local/Server)";
    }
}

std::string headOf(const BXSyncFileDataInfo& item)
{
    const auto direction = SyncState::direction(item.state);
    switch (SyncState::kind(item.state)) {
    case SyncState::newer:
    case SyncState::older:
        return directionText(direction) + ("(Update) " + datesOf(item));
    case SyncState::added:
        return directionText(direction) + ("(New) " + datesOf(item));
    case SyncState::deleted:
        return deletedText(direction);
    default:
        return directionText(direction);
    }
}

} // namespace

BXSyncChangeList build(SyncMode mode, const BXSyncOperations& operations, const Items& localItems,
                       const Items& serverItems)
{
    BXSyncChangeList list;
    switch (mode) {
    case SyncMode::twoWay:
        buildTwoWay(list, localItems, serverItems);
        break;
    case SyncMode::uploadOnly:
        buildUpload(list, operations, localItems);
        break;
    case SyncMode::downloadOnly:
        buildDownload(list, operations, serverItems);
        break;
    }
    return list;
}

std::string describe(const BXSyncFileDataInfo& item)
{
    return headOf(item) + "] " + item.fileData.fileName;
}

} // namespace tidemark::BXSyncListup
