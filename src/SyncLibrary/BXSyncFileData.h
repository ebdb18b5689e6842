#pragma once

#include <string>

#include "platform/Dates.h"

namespace tidemark {

/// What is kept of one path from run to run.
struct BXSyncFileData
{
    /// Class name in the sync-info file.
    static constexpr const char* archiveName = "BXSyncFileData";

    /// The path's pathname.
    std::string fileName;
    /// At the last synchronisation; 0 in a record marked deleted.
    dates::Seconds dateLastModified = 0;
};

} // namespace tidemark
