#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/Result.h"

/// Zip files that are written in one go, without their contents ever being whole in memory.
namespace tidemark::zip {

/// Hands out a file's content piece by piece, then nothing.
using PieceSource = std::function<std::optional<std::string>()>;

struct Entry
{
    /// Path in the archive; UTF-8, "/" between components.
    std::string name;
    /// Begins at the content's first piece; called when the entry is written.
    std::function<PieceSource()> open;
};

/// Writes beside `path` and puts the archive there when it is whole; after a failure (domain "Zip") what was at `path`
/// is untouched. `cancelled` is asked before each piece, and ends the writing as a failure.
Status writeArchive(const std::string& path, const std::vector<Entry>& entries,
                    const std::function<bool()>& cancelled = {});

} // namespace tidemark::zip
