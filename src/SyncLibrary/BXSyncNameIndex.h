#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <string_view>
#include <vector>

#include "SyncLibrary/BXSyncFileDataInfo.h"

namespace tidemark {

/// Finds records of a list by name. The names stay in the records; an entry costs 4 to 11 bytes. At most 2^32 - 2
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
    std::size_t slotOf(std::string_view name) const;
    void grow();

    const Records& records_;
    /// Position + 1 of a record, 0 for a free slot; a power of two in number.
    std::vector<std::uint32_t> slots_;
    std::size_t used_ = 0;
};

} // namespace tidemark
