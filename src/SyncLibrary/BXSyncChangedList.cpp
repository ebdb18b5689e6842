#include "SyncLibrary/BXSyncChangedList.h"

#include <algorithm>

namespace tidemark {

void BXSyncChangedList::note(const std::string& path, const std::string& relativePath, std::int64_t modifiedType)
{
    if (const auto known = entries_.find(path); known != entries_.end()) {
        known->second.item.modifiedType = modifiedType;
        return;
    }
    if (hasAncestorOf(path)) return;
    removeBelow(path);
    entries_.emplace(path, Entry{nextOrder_++, {path, relativePath, modifiedType}});
}

std::vector<BXSyncModifiedItem> BXSyncChangedList::items() const
{
    std::vector<const Entry*> ordered;
    ordered.reserve(entries_.size());
    for (const auto& [path, entry] : entries_)
        ordered.push_back(&entry);
    std::sort(ordered.begin(), ordered.end(), [](const Entry* a, const Entry* b) { return a->order < b->order; });
    std::vector<BXSyncModifiedItem> items;
    items.reserve(ordered.size());
    for (const auto* entry : ordered)
        items.push_back(entry->item);
    return items;
}

bool BXSyncChangedList::hasAncestorOf(std::string_view path) const
{
    for (auto slash = path.rfind('/'); slash != std::string_view::npos && slash > 0; slash = path.rfind('/')) {
        path = path.substr(0, slash);
        if (entries_.contains(path)) return true;
    }
    return false;
}

void BXSyncChangedList::removeBelow(const std::string& path)
{
    const auto prefix = path + "/";
    const auto first = entries_.lower_bound(prefix);
    auto last = first;
    while (last != entries_.end() && last->first.starts_with(prefix))
        ++last;
    entries_.erase(first, last);
}

} // namespace tidemark
