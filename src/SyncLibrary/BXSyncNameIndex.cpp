#include "SyncLibrary/BXSyncNameIndex.h"

#include <functional>

namespace tidemark {

namespace {

constexpr std::size_t firstSlots = 64;

std::uint32_t hashOf(std::string_view name)
{
    const auto hash = std::uint64_t{std::hash<std::string_view>{}(name)};
    return static_cast<std::uint32_t>(hash ^ (hash >> 32));
}

} // namespace

std::optional<std::size_t> BXSyncNameIndex::find(std::string_view name) const
{
    if (slots_.empty()) return std::nullopt;
    const auto mask = slots_.size() - 1;
    const auto hash = hashOf(name);
    for (auto at = hash & mask; slots_[at].entry != 0; at = (at + 1) & mask) {
        const std::size_t position = slots_[at].entry - 1;
        if (slots_[at].hash == hash && records_[position].fileData.fileName == name) return position;
    }
    return std::nullopt;
}

void BXSyncNameIndex::addLast()
{
    if ((used_ + 1) * 4 > slots_.size() * 3) grow();
    place({static_cast<std::uint32_t>(records_.size()), hashOf(records_.back().fileData.fileName)});
    ++used_;
}

void BXSyncNameIndex::clear()
{
    slots_.clear();
    used_ = 0;
}

void BXSyncNameIndex::place(Slot slot)
{
    const auto mask = slots_.size() - 1;
    auto at = slot.hash & mask;
    while (slots_[at].entry != 0)
        at = (at + 1) & mask;
    slots_[at] = slot;
}

void BXSyncNameIndex::grow()
{
    std::vector<Slot> old(slots_.empty() ? firstSlots : slots_.size() * 2);
    slots_.swap(old);
    for (const auto& slot : old)
        if (slot.entry != 0) place(slot);
}

} // namespace tidemark
