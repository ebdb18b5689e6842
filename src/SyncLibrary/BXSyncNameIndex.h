#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <string_view>
#include <vector>

#include "SyncLibrary/BXSyncFileDataInfo.h"

namespace tidemark {

/// Finds records of a list by name. The names stay in the records; an entry costs 11 to 22 bytes. At most 2^32 - 2
/// records.
class BXSyncNameIndex
{
public:
    using Records = std::deque<BXSyncFileDataInfo>;

    /// `records` outlives the index; names of indexed records do not change.
    explicit BXSyncNameIndex(const Records& records) : records_(records) {}

    std::optional<std::size_t> find(std::string_view name) const;
    /// Enters the last record of the list, whose name is not in the index.
    void addLast();
    void clear();

private:
    struct Slot
    {
        /// Position + 1 of a record, 0 for a free slot.
        std::uint32_t entry = 0;
        /// Of the name, so that most names need not be looked at.
        std::uint32_t hash = 0;
    };

    void place(Slot slot);
    void grow();

    const Records& records_;
    /// A power of two in number.
    std::vector<Slot> slots_;
    std::size_t used_ = 0;
};

} // namespace tidemark
