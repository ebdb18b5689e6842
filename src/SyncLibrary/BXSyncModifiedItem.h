#pragma once

#include <cstdint>
#include <string>

namespace tidemark {

/// A path below a watched folder that has changed.
struct BXSyncModifiedItem
{
    static constexpr std::int64_t create = 0;
    static constexpr std::int64_t update = 1;
    static constexpr std::int64_t deletion = 2;

    /// Absolute, NFC.
    std::string path;
    /// `path` below the watched folder, normally beginning with "/".
    std::string relativePath;
    std::int64_t modifiedType = create;

    /// "Create:", "Update:" or "Delete:" and the path; the path alone for any other type.
    std::string description() const;
};

} // namespace tidemark
