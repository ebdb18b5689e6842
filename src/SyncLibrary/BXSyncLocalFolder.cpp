#include "SyncLibrary/BXSyncLocalFolder.h"

#include <cerrno>
#include <cmath>
#include <filesystem>

#include "SyncLibrary/BXSyncLocalListing.h"
#include "SyncLibrary/BXSyncRunReport.h"
#include "SyncLibrary/BXSyncUtils.h"
#include "platform/FileAbsence.h"
#include "platform/Streams.h"

namespace tidemark {

namespace {

bool isLink(const std::string& path)
{
    std::error_code ignored;
    return std::filesystem::is_symlink(path, ignored);
}

tl::unexpected<Error> obstructed(const std::string& path)
{
    return failure(engineError("LOCALFILE_OBSTRUCTED", "Something else is in the place of the file. path:" + path));
}

tl::unexpected<Error> changed(const std::string& path)
{
    return failure(
        engineError("LOCALFILE_CHANGED", "The file was changed after the changes were listed. path:" + path));
}

tl::unexpected<Error> unwritable(const Error& cause)
{
    return failure(engineError("LOCALFILE_UNWRITABLE", cause.description()));
}

tl::unexpected<Error> unreadable(const std::string& text)
{
    return failure(engineError("LOCALFILE_UNREADABLE", text));
}

/// `pathname` without its last component; "" for an entry of the root.
std::string parentPathname(const std::string& pathname)
{
    return pathname.substr(0, pathname.rfind('/'));
}

} // namespace

BXSyncLocalFolder::BXSyncLocalFolder(std::string root, const BXSyncInspectFile& scanned)
    : root_(std::move(root)), scanned_(scanned)
{
}

std::string BXSyncLocalFolder::shownPath(const std::string& pathname) const
{
    return fs::joinPath(root_, pathname);
}

Result<std::string> BXSyncLocalFolder::resolve(const std::string& pathname) const
{
    return fs::resolve(root_, pathname,
                       [this](const std::string& folder) { return scanned_.mayHoldOtherSpellings(folder); });
}

Result<std::string> BXSyncLocalFolder::locate(const std::string& pathname) const
{
    auto path = resolve(pathname);
    if (!path) return obstructed(path.error().description());
    return *path;
}

Result<fs::Attributes> BXSyncLocalFolder::readableFile(const std::string& diskPath) const
{
    auto found = fs::attributes(diskPath);
    if (!found) return unreadable(found.error().description());
    if (found->kind != fs::FileKind::file) return obstructed(diskPath);
    if (!makeFileInputStream(diskPath)->open()) return unreadable("The file cannot be opened. path:" + diskPath);
    return *found;
}

bool BXSyncLocalFolder::isPresent(const std::string& pathname) const
{
    const auto path = locate(pathname);
    // Behind a link, or a link whose target is away: there is no telling.
    if (!path) return true;
    const auto found = fs::attributes(*path);
    if (!found) return isLink(*path) || !fs::isAbsence(found.error());
    return found->kind != fs::FileKind::other && !(found->isLink && found->kind == fs::FileKind::folder);
}

bool BXSyncLocalFolder::isFolder(const std::string& pathname) const
{
    const auto path = locate(pathname);
    return path && fs::isFolder(*path) && !isLink(*path);
}

Result<std::string> BXSyncLocalFolder::prepareTarget(const std::string& pathname) const
{
    const auto parent = parentPathname(pathname);
    if (!parent.empty())
        if (auto made = makeFolder(parent); !made) return failure(std::move(made.error()));
    auto path = locate(pathname);
    if (!path) return path;
    if (fs::isFolder(*path)) return obstructed(*path);
    if (auto unchanged = checkEntry(*path, pathname); !unchanged) return failure(std::move(unchanged.error()));
    return path;
}

Status BXSyncLocalFolder::checkUnchanged(const std::string& pathname) const
{
    const auto path = locate(pathname);
    if (!path) return failure(path.error());
    if (auto entry = checkEntry(*path, pathname); !entry) return entry;
    return fs::isFolder(*path) && !isLink(*path) ? checkTree(*path, root_) : Status();
}

Status BXSyncLocalFolder::checkEntry(const std::string& diskPath, const std::string& pathname) const
{
    const auto found = fs::attributes(diskPath);
    if (!found) {
        if (isLink(diskPath)) return obstructed(diskPath);
        return isListedAbsent(pathname) ? Status() : changed(diskPath);
    }
    const bool suspended = found->kind == fs::FileKind::file && BXSyncUtils::isSuspendedFile(diskPath);
    BXSyncFileItem item(diskPath, root_, *found, suspended);
    item.pathname = pathname;
    if (found->kind == fs::FileKind::other || (found->isLink && item.isFolder)) return obstructed(diskPath);
    return isAsListed(item) ? Status() : changed(diskPath);
}

Status BXSyncLocalFolder::checkTree(const std::string& diskFolder, const std::string& root) const
{
    const auto listing = BXSyncLocalListing::read(diskFolder, root);
    if (!listing) return unreadable(listing.error().description());
    // What is left out of the synchronisation exists nowhere else.
    if (!listing->remarks.empty()) return obstructed(diskFolder);
    for (const auto& file : listing->files)
        if (!isAsListed(file)) return changed(file.path);
    for (const auto& folder : listing->folders) {
        if (!isAsListed(folder)) return changed(folder.path);
        if (auto below = checkTree(folder.path, root); !below) return below;
    }
    return {};
}

bool BXSyncLocalFolder::isListedAbsent(const std::string& pathname) const
{
    const auto* record = scanned_.getFileUpdate(pathname);
    return record == nullptr || SyncState::kind(record->state) == SyncState::deleted;
}

/// A record does not keep every time that the scan saw: an unchanged file's may differ within the tolerance, and a
/// suspended file's shows in its mark.
bool BXSyncLocalFolder::isAsListed(const BXSyncFileItem& item) const
{
    const auto* record = scanned_.getFileUpdate(item.pathname);
    if (record == nullptr) return false;
    const bool wasFolder = (record->state & SyncState::folder) != 0;
    const auto kind = SyncState::kind(record->state);
    if (record->hasChecked && (wasFolder || item.isFolder)) return wasFolder && item.isFolder;
    if (record->hasChecked && record->size != item.size) return false;
    const auto recorded = record->fileData.dateLastModified;
    switch (kind) {
    case SyncState::newer:
    case SyncState::older:
    case SyncState::added:
        return item.time == recorded;
    case SyncState::suspended:
        return item.suspend;
    case SyncState::unchanged:
        return item.isFolder || std::abs(item.time - recorded) <= BXSyncInspectFile::timeTolerance;
    default:
        return false;
    }
}

Status BXSyncLocalFolder::makeFolder(const std::string& pathname) const
{
    const auto path = locate(pathname);
    if (!path) return failure(path.error());
    if (isLink(*path)) return obstructed(*path);
    if (const auto made = fs::createFolders(*path); made)
        return {};
    else if (made.error().code == ENOTDIR || made.error().code == EEXIST)
        return obstructed(*path);
    else
        return unwritable(made.error());
}

Status BXSyncLocalFolder::remove(const std::string& pathname) const
{
    const auto path = resolve(pathname);
    if (!path) return failure(path.error());
    if (!fs::exists(*path) && !isLink(*path)) return {};
    return fs::removeTree(*path);
}

} // namespace tidemark
