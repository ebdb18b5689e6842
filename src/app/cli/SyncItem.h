#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "app/cli/ExitStatus.h"
#include "platform/Dates.h"

namespace tidemark {
struct BXSyncFileDataInfo;
}

namespace tidemark::cli {

enum class Direction
{
    up,
    down,
    conflict
};
enum class Change
{
    created,
    updated,
    deleted
};

/// One change of a configuration as it is shown to people and written as JSON.
struct SyncItem
{
    /// Below the configuration's folders; begins with "/".
    std::string path;
    Direction direction = Direction::up;
    Change change = Change::created;
    bool folder = false;
    /// 0 for a folder.
    std::int64_t size = 0;
    /// Absent where that side has nothing, or never told its time.
    std::optional<dates::Seconds> localTime = {};
    std::optional<dates::Seconds> serverTime = {};
    bool finished = false;
    /// Why it is not finished, in words; "" where it was not tried.
    std::string error = {};
};

/// What became of one configuration.
struct Outcome
{
    std::string name;
    ExitStatus status = ExitStatus::done;
    std::vector<SyncItem> items;
};

std::string_view word(Direction direction);
std::string_view word(Change change);

/// Nothing for a record that stands for no change.
std::optional<SyncItem> syncItem(const BXSyncFileDataInfo& record);

/// One line for people: direction, kind, size and path.
std::string itemLine(const SyncItem& item);

/// "3 up, 1 down, 1 conflict; 2 failed"; "nothing to do" without items.
std::string summary(const std::vector<SyncItem>& items);

} // namespace tidemark::cli
