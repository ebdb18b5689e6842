#pragma once

#include <string_view>
#include <unordered_set>
#include <vector>

#include "SyncLibrary/BXSyncModifiedItem.h"

namespace tidemark {

/// The part of a tree that a snapshot of changed paths covers.
class BXSyncCheckedPaths
{
public:
    /// `items` outlives the object.
    explicit BXSyncCheckedPaths(const std::vector<BXSyncModifiedItem>& items);

    /// The watched folder itself is among the paths.
    bool isWholeTree() const { return paths_.contains(""); }
    /// `pathname` is one of the paths or lies below one.
    bool covers(std::string_view pathname) const;

private:
    std::unordered_set<std::string_view> paths_;
};

} // namespace tidemark
