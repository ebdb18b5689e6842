#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "SyncLibrary/BXSyncFileDataInfo.h"
#include "SyncLibrary/BXSyncPolicy.h"

namespace tidemark {

/// The list of a run's items, with its totals.
struct BXSyncChangeList
{
    /// Local items before server items, each in its inspector's order; owned by the inspectors.
    std::vector<BXSyncFileDataInfo*> items;
    /// Files only, folders are not counted.
    std::int64_t totalFiles = 0;
    std::int64_t totalBytes = 0;
    std::int64_t deleteFiles = 0;
    /// Pathnames of deletions that the policies drop.
    std::vector<std::string> ignoredDeletions;
};

/// Merges what the two inspectors found into one list and gives each record its direction. Reads and writes nothing
/// but the records.
namespace BXSyncListup {

BXSyncChangeList build(SyncMode mode, const BXSyncOperations& operations,
                       const std::vector<BXSyncFileDataInfo*>& localItems,
                       const std::vector<BXSyncFileDataInfo*>& serverItems);

/// The log's line about an item.
std::string describe(const BXSyncFileDataInfo& item);

} // namespace BXSyncListup

} // namespace tidemark
