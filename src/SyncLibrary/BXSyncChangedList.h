#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "SyncLibrary/BXSyncModifiedItem.h"

namespace tidemark {

/// Paths that changed, in the order in which they were first noted. Never holds a path together with one below it: a
/// folder replaces what was noted inside it and absorbs what comes later. Not locked.
class BXSyncChangedList
{
public:
    /// `path` without "/" at its end. Time is logarithmic in the length of the list.
    void note(const std::string& path, const std::string& relativePath, std::int64_t modifiedType);
    std::vector<BXSyncModifiedItem> items() const;
    bool empty() const { return entries_.empty(); }
    void clear() { entries_.clear(); }

private:
    struct Entry
    {
        std::uint64_t order = 0;
        BXSyncModifiedItem item;
    };
    bool hasAncestorOf(std::string_view path) const;
    void removeBelow(const std::string& path);

    std::map<std::string, Entry, std::less<>> entries_;
    std::uint64_t nextOrder_ = 0;
};

} // namespace tidemark
