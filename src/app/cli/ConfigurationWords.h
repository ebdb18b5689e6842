#pragma once

#include <optional>
#include <string_view>

#include "config/BXSyncConf.h"

namespace tidemark::cli {

/// "two-way", "upload" or "download"; "unknown" for a mode that nobody knows.
std::string_view modeWord(SyncMode mode);
/// Nothing for any other word.
std::optional<SyncMode> modeFromWord(std::string_view word);

} // namespace tidemark::cli
