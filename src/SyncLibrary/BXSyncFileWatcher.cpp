#include "SyncLibrary/BXSyncFileWatcher.h"

#include "platform/FileSystem.h"
#include "platform/Unicode.h"

namespace tidemark {

namespace {

bool isHiddenName(std::string_view name)
{
    return name.starts_with('.');
}

std::string withDoubledEnd(std::string path)
{
    if (path.ends_with('/')) path += '/';
    return path;
}

} // namespace

BXSyncFileWatcher::BXSyncFileWatcher(std::string watchPath, DirectoryWatchService& service)
    : watchPath_(withDoubledEnd(std::move(watchPath))), nfcWatchPath_(toNfc(watchPath_)), service_(service)
{
}

BXSyncFileWatcher::~BXSyncFileWatcher()
{
    setOn(false);
    watch_.reset();
}

bool BXSyncFileWatcher::on() const
{
    const std::lock_guard lock(switchMutex_);
    return on_;
}

void BXSyncFileWatcher::setOn(bool on)
{
    const std::lock_guard lock(switchMutex_);
    if (on == on_) return;
    on_ = on;
    if (on && needsNewWatch())
        startWatch();
    else if (watch_)
        watch_->setReporting(on);
}

void BXSyncFileWatcher::watchAgain()
{
    const auto before = watchFailure();
    if (!before) return;
    {
        const std::lock_guard lock(switchMutex_);
        if (!on_) return;
        startWatch();
    }
    if (watchFailure() || before->kind == DirectoryWatchFailure::Kind::rootGone) return;
    const std::lock_guard lock(listMutex_);
    changed_.note(nfcWatchPath_, {}, BXSyncModifiedItem::update);
}

bool BXSyncFileWatcher::needsNewWatch() const
{
    const std::lock_guard lock(listMutex_);
    return !watch_ || (failure_ && failure_->kind == DirectoryWatchFailure::Kind::rootGone);
}

void BXSyncFileWatcher::startWatch()
{
    watch_.reset();
    {
        const std::lock_guard lock(listMutex_);
        failure_.reset();
    }
    watch_ = std::make_unique<DirectoryWatch>(service_, watchPath_, static_cast<DirectoryWatch::Client&>(*this),
                                              isHiddenName);
}

std::optional<DirectoryWatchFailure> BXSyncFileWatcher::watchFailure() const
{
    const std::lock_guard lock(listMutex_);
    return failure_;
}

void BXSyncFileWatcher::setFailureHandler(std::function<void(const DirectoryWatchFailure&)> handler)
{
    failureHandler_ = std::move(handler);
}

bool BXSyncFileWatcher::isTargetPath(std::string_view path) const
{
    if (!path.starts_with(nfcWatchPath_)) return false;
    const auto below = path.substr(nfcWatchPath_.size());
    if (below.empty()) return true;
    return (below.starts_with('/') || nfcWatchPath_.ends_with('/')) && !below.starts_with('.') &&
           below.find("/.") == std::string_view::npos;
}

void BXSyncFileWatcher::presentedSubitemDidChange(const std::string& path)
{
    auto nfcPath = toNfc(path);
    while (nfcPath.ends_with('/') && nfcPath.size() > 1)
        nfcPath.pop_back();
    if (!isTargetPath(nfcPath)) return;
    auto relativePath = nfcPath.substr(nfcWatchPath_.size());
    if (!relativePath.empty() && !relativePath.starts_with('/')) relativePath.insert(0, "/");
    const std::lock_guard lock(listMutex_);
    // Looked at under the lock: of two reports of one path the later sees what is there last.
    const auto type = fs::exists(path) ? BXSyncModifiedItem::update : BXSyncModifiedItem::deletion;
    changed_.note(nfcPath, relativePath, type);
}

std::vector<BXSyncModifiedItem> BXSyncFileWatcher::modifiedList(bool clear)
{
    const std::lock_guard lock(listMutex_);
    auto items = changed_.items();
    if (clear) changed_.clear();
    return items;
}

bool BXSyncFileWatcher::hasModified() const
{
    const std::lock_guard lock(listMutex_);
    return !changed_.empty();
}

void BXSyncFileWatcher::watchedPathDidChange(const std::string& path)
{
    presentedSubitemDidChange(path);
}

void BXSyncFileWatcher::watchDidFail(const DirectoryWatchFailure& failure)
{
    {
        const std::lock_guard lock(listMutex_);
        failure_ = failure;
    }
    if (failureHandler_) failureHandler_(failure);
}

} // namespace tidemark
