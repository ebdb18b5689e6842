#include "app/SyncItem.h"

#include <algorithm>

#include "SyncLibrary/BXSyncFileDataInfo.h"
#include "SyncLibrary/BXSyncRunReport.h"
#include "SyncLibrary/BXSyncUtils.h"

namespace tidemark {

namespace {

constexpr const char* messages = "TidemarkResource";

std::optional<Direction> directionOf(std::int64_t state)
{
    switch (SyncState::direction(state)) {
    case SyncState::up:
        return Direction::up;
    case SyncState::down:
        return Direction::down;
    case SyncState::conflict:
        return Direction::conflict;
    }
    return std::nullopt;
}

std::optional<Change> changeOf(std::int64_t state)
{
    switch (SyncState::kind(state)) {
    case SyncState::newer:
    case SyncState::older:
        return Change::updated;
    case SyncState::added:
        return Change::created;
    case SyncState::deleted:
        return Change::deleted;
    }
    return std::nullopt;
}

std::optional<dates::Seconds> timeOf(dates::Seconds seconds)
{
    return seconds > 0 ? std::optional(seconds) : std::nullopt;
}

} // namespace

std::string_view word(Direction direction)
{
    switch (direction) {
    case Direction::up:
        return "up";
    case Direction::down:
        return "down";
    case Direction::conflict:
        return "conflict";
    }
    return "";
}

std::string_view word(Change change)
{
    switch (change) {
    case Change::created:
        return "new";
    case Change::updated:
        return "updated";
    case Change::deleted:
        return "deleted";
    }
    return "";
}

std::optional<SyncItem> syncItem(const BXSyncFileDataInfo& record)
{
    const auto direction = directionOf(record.state);
    const auto change = changeOf(record.state);
    if (!direction || !change) return std::nullopt;
    SyncItem item;
    item.path = record.fileData.fileName;
    item.direction = *direction;
    item.change = *change;
    item.folder = (record.state & SyncState::folder) != 0;
    item.size = std::max<std::int64_t>(record.size, 0);
    // A record holds the time of the side that changed, and the other side's as the older one.
    const auto own = timeOf(*change == Change::deleted ? 0 : record.fileData.dateLastModified);
    const auto other = timeOf(record.oldDateLastModified);
    item.localTime = *direction == Direction::down ? other : own;
    item.serverTime = *direction == Direction::down ? own : other;
    item.finished = record.operateFinished;
    return item;
}

std::vector<SyncItem> syncItems(const std::vector<BXSyncFileDataInfo*>& records)
{
    std::vector<SyncItem> items;
    items.reserve(records.size());
    for (const auto* record : records)
        if (auto item = syncItem(*record)) items.push_back(std::move(*item));
    return items;
}

std::string errorText(const BXSyncItemError& error)
{
    const auto text = BXSyncUtils::localizeAndReplacementMessage(error.message, messages, {});
    if (!text.empty()) return text;
    return error.log.empty() ? error.message : error.log;
}

} // namespace tidemark
