#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "SyncLibrary/BXSyncChangedList.h"
#include "SyncLibrary/BXSyncModifiedItem.h"
#include "platform/DirectoryWatch.h"

namespace tidemark {

/// Keeps the list of paths that changed below a folder. Any thread.
class BXSyncFileWatcher : private DirectoryWatch::Client
{
public:
    /// Not switched on. A path that ends with "/" gets one more.
    explicit BXSyncFileWatcher(std::string watchPath, DirectoryWatchService& service = DirectoryWatchService::shared());
    /// Off first.
    ~BXSyncFileWatcher() override;
    BXSyncFileWatcher(const BXSyncFileWatcher&) = delete;
    BXSyncFileWatcher& operator=(const BXSyncFileWatcher&) = delete;

    const std::string& watchPath() const { return watchPath_; }

    bool on() const;
    /// Switched on for the first time, the tree is watched before this returns. From then on this is a gate: changes
    /// made while off are dropped, those made before a switch are settled by the state before it, and no tree is
    /// walked again. Where watching has failed because the folder was gone, switching on tries again.
    void setOn(bool on);
    /// While on and failed: watches anew, which walks the tree. What changed meanwhile is not known: the watched folder
    /// itself is noted, which stands for all in it. Not so after it was gone: an empty folder in its place is no sign
    /// that a person has deleted everything.
    void watchAgain();

    /// Why changes are not noticed although the watcher is on: whoever relies on it has to look at the whole folder.
    std::optional<DirectoryWatchFailure> watchFailure() const;
    /// Called once per failure, on any thread; must not use the watcher. Set before the watcher is on.
    void setFailureHandler(std::function<void(const DirectoryWatchFailure&)> handler);

    /// Below the watched folder and no hidden name on the way.
    bool isTargetPath(std::string_view path) const;
    /// Something at `path` changed.
    void presentedSubitemDidChange(const std::string& path);

    /// The paths in the order in which they were first noted; `clear` empties the list in the same step.
    std::vector<BXSyncModifiedItem> modifiedList(bool clear);
    /// Whether there are any; cheap.
    bool hasModified() const;

private:
    void watchedPathDidChange(const std::string& path) override;
    void watchDidFail(const DirectoryWatchFailure& failure) override;
    bool needsNewWatch() const;
    void startWatch();

    const std::string watchPath_;
    const std::string nfcWatchPath_;
    DirectoryWatchService& service_;
    std::function<void(const DirectoryWatchFailure&)> failureHandler_;

    mutable std::mutex switchMutex_; // guards on_ and watch_; taken before listMutex_
    bool on_ = false;

    mutable std::mutex listMutex_; // guards changed_ and failure_
    BXSyncChangedList changed_;
    std::optional<DirectoryWatchFailure> failure_;

    std::unique_ptr<DirectoryWatch> watch_; // last: its reports use all above
};

} // namespace tidemark
