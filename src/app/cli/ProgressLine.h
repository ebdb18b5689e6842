#pragma once

#include <cstddef>
#include <string>

#include "app/BXSyncProgressModel.h"

namespace tidemark::cli {

/// One line that tells how far a run is, at most `columns` - 1 characters long: operation, file, files done and in
/// all, bytes, speed, remaining time. Names have their control characters escaped and are cut when the
/// line is too short for them. "" where nothing is under way.
std::string progressLine(const BXSyncProgressModel::Snapshot& snapshot, std::size_t columns);

/// "1.5 MiB"; one decimal from KiB on.
std::string byteText(std::uint64_t bytes);

/// "1:02:03" or "2:03".
std::string durationText(std::uint64_t seconds);

} // namespace tidemark::cli
