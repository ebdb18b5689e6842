#include "SyncLibrary/BXSyncNameIndex.h"

#include <functional>

namespace tidemark {

namespace {

constexpr std::size_t firstSlots = 64;

} // namespace

std::optional<std::size_t> BXSyncNameIndex::find(std::string_view name) const
{
    if (slots_.empty()) return std::nullopt;
    const auto entry = slots_[slotOf(name)];
    if (entry == 0) return std::nullopt;
    return entry - 1;
}

void BXSyncNameIndex::addLast()
{
    if ((used_ + 1) * 4 > slots_.size() * 3) grow();
    slots_[slotOf(records_.back().fileData.fileName)] = static_cast<std::uint32_t>(records_.size());
    ++used_;
}

void BXSyncNameIndex::clear()
{
    slots_.clear();
    used_ = 0;
}

/// The slot that holds the name, or the free one where it belongs.
std::size_t BXSyncNameIndex::slotOf(std::string_view name) const
{
    const auto mask = slots_.size() - 1;
    auto slot = std::hash<std::string_view>{}(name)&mask;
    while (slots_[slot] != 0 && records_[slots_[slot] - 1].fileData.fileName != name)
        slot = (slot + 1) & mask;
    return slot;
}

void BXSyncNameIndex::grow()
{
    std::vector<std::uint32_t> old(slots_.empty() ? firstSlots : slots_.size() * 2, 0);
    slots_.swap(old);
    for (const auto entry : old)
        if (entry != 0) slots_[slotOf(records_[entry - 1].fileData.fileName)] = entry;
}

} // namespace tidemark
