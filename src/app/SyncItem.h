#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Dates.h"

namespace tidemark {

struct BXSyncFileDataInfo;
struct BXSyncItemError;

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

std::string_view word(Direction direction);
std::string_view word(Change change);

/// Nothing for a record that stands for no change.
std::optional<SyncItem> syncItem(const BXSyncFileDataInfo& record);
/// The records that stand for a change, in their order.
std::vector<SyncItem> syncItems(const std::vector<BXSyncFileDataInfo*>& records);

/// Why an item is not done, in the words of the user's language where there are any.
std::string errorText(const BXSyncItemError& error);

} // namespace tidemark
