#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "SyncLibrary/BXSyncFileData.h"

namespace tidemark {

/// Text that many records share, such as the folder that their files lie in.
class BXSyncSharedText
{
public:
    BXSyncSharedText() = default;
    BXSyncSharedText(std::string text) : text_(std::make_shared<const std::string>(std::move(text))) {}
    BXSyncSharedText(const char* text) : BXSyncSharedText(std::string(text)) {}

    const std::string& str() const;
    operator const std::string&() const { return str(); }
    bool empty() const { return str().empty(); }

    friend bool operator==(const BXSyncSharedText& a, std::string_view b) { return a.str() == b; }

private:
    std::shared_ptr<const std::string> text_;
};

/// Parts of BXSyncFileDataInfo::state.
namespace SyncState {
inline constexpr std::int64_t unchanged = 0;
inline constexpr std::int64_t newer = 1;
inline constexpr std::int64_t older = 2;
inline constexpr std::int64_t added = 3;
inline constexpr std::int64_t deleted = 4;
inline constexpr std::int64_t suspended = 5;
inline constexpr std::int64_t kindMask = 0xFFFF;
inline constexpr std::int64_t up = 0x10000;
inline constexpr std::int64_t down = 0x20000;
inline constexpr std::int64_t conflict = up | down;
inline constexpr std::int64_t folder = 0x100000;

constexpr std::int64_t kind(std::int64_t state)
{
    return state & kindMask;
}
/// The bit that a deletion has; the suspended kind has it too.
constexpr bool hasDeletedBit(std::int64_t state)
{
    return (state & deleted) != 0;
}
constexpr std::int64_t direction(std::int64_t state)
{
    return state & conflict;
}
} // namespace SyncState

/// The change record of one path during a run.
struct BXSyncFileDataInfo
{
    /// Stored name and time; the time becomes the current one when a change is found.
    BXSyncFileData fileData;
    /// Folder of the scanned entry (local path or decoded URL); of a deleted path the other side's.
    BXSyncSharedText filePath;
    /// Before the comparison the stored time that a change replaced, after it the other side's current time.
    dates::Seconds oldDateLastModified = 0;
    /// Bytes; -1 for a folder.
    std::int64_t size = 0;
    /// The engine's own use.
    std::int64_t status = 0;
    /// A kind of SyncState with its flag bits.
    std::int64_t state = SyncState::unchanged;
    /// The path has to be acted on in this run.
    bool update = false;
    /// Seen in the current scan.
    bool hasChecked = false;
    /// The engine is done with it.
    bool operateFinished = false;
};

} // namespace tidemark
