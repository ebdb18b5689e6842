#include "app/cli/SyncItem.h"

#include <algorithm>

#include "SyncLibrary/BXSyncFileDataInfo.h"
#include "app/cli/ProgressLine.h"

namespace tidemark::cli {

namespace {

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

std::string padded(std::string_view text, std::size_t width)
{
    std::string result(text);
    result.resize(std::max(width, result.size()), ' ');
    return result;
}

std::string sizeText(const SyncItem& item)
{
    if (item.folder) return "folder";
    return item.change == Change::deleted ? ""
                                          : byteText(static_cast<std::uint64_t>(std::max<std::int64_t>(item.size, 0)));
}

std::string counted(std::size_t count, std::string_view what)
{
    return count == 0 ? std::string{} : std::to_string(count) + " " + std::string(what);
}

std::string joined(const std::vector<std::string>& parts)
{
    std::string text;
    for (const auto& part : parts)
        if (!part.empty()) text += (text.empty() ? "" : ", ") + part;
    return text;
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

std::string itemLine(const SyncItem& item)
{
    return padded(word(item.direction), 9) + padded(word(item.change), 8) + padded(sizeText(item), 11) + item.path;
}

std::string summary(const std::vector<SyncItem>& items)
{
    const auto count = [&](Direction direction) {
        return static_cast<std::size_t>(
            std::ranges::count_if(items, [&](const SyncItem& item) { return item.direction == direction; }));
    };
    const auto conflicts = count(Direction::conflict);
    const auto text = joined({counted(count(Direction::up), "up"), counted(count(Direction::down), "down"),
                              counted(conflicts, conflicts == 1 ? "conflict" : "conflicts")});
    return text.empty() ? "nothing to do" : text;
}

} // namespace tidemark::cli
