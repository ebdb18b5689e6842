#include "SyncLibrary/BXSyncLocalListing.h"

#include <algorithm>
#include <optional>
#include <tuple>

#include "SyncLibrary/BXSyncUtils.h"
#include "platform/FileSystem.h"
#include "platform/Unicode.h"

namespace tidemark {

namespace {

struct NamedEntry
{
    std::string nfcName;
    fs::Entry entry;
};

std::vector<NamedEntry> visibleEntries(std::vector<fs::Entry> entries)
{
    std::vector<NamedEntry> visible;
    visible.reserve(entries.size());
    for (auto& entry : entries)
        if (!entry.name.starts_with('.')) visible.push_back({toNfc(entry.name), std::move(entry)});
    return visible;
}

/// By NFC name; of several with one form the one spelled so first.
void sortByName(std::vector<NamedEntry>& entries)
{
    std::sort(entries.begin(), entries.end(), [](const NamedEntry& a, const NamedEntry& b) {
        const bool aDiffers = a.entry.name != a.nfcName;
        const bool bDiffers = b.entry.name != b.nfcName;
        return std::tie(a.nfcName, aDiffers, a.entry.name) < std::tie(b.nfcName, bDiffers, b.entry.name);
    });
}

/// Why an entry is left out, for the log.
std::optional<std::string> exclusion(const NamedEntry& named, const NamedEntry* previous)
{
    const auto& attributes = named.entry.attributes;
    if (!isUtf8(named.entry.name)) return "The name is not UTF-8. Skipped.";
    if (attributes.kind == fs::FileKind::other) return "Neither file nor folder. Skipped.";
    if (attributes.isLink && attributes.kind == fs::FileKind::folder) return "Link to a folder. Skipped.";
    if (previous != nullptr && previous->nfcName == named.nfcName)
        return "Another entry has the same name in composed form. Skipped.";
    return std::nullopt;
}

} // namespace

Result<BXSyncLocalListing> BXSyncLocalListing::read(const std::string& folder, const std::string& basepath)
{
    auto listed = fs::listFolder(folder);
    if (!listed) return failure(std::move(listed.error()));
    auto entries = visibleEntries(std::move(*listed));
    sortByName(entries);
    BXSyncLocalListing listing;
    const NamedEntry* previous = nullptr;
    for (const auto& named : entries) {
        auto path = fs::joinPath(folder, named.entry.name);
        if (const auto reason = exclusion(named, previous)) {
            listing.remarks.push_back(*reason + " path:" + path);
            continue;
        }
        previous = &named;
        listing.holdsOtherSpellings |= named.entry.name != named.nfcName;
        const auto& attributes = named.entry.attributes;
        const bool isFolder = attributes.kind == fs::FileKind::folder;
        const bool suspended = !isFolder && BXSyncUtils::isSuspendedFile(path);
        auto& list = isFolder ? listing.folders : listing.files;
        list.emplace_back(std::move(path), basepath, attributes, suspended);
    }
    return listing;
}

} // namespace tidemark
