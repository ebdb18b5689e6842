#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace tidemark {

class BXSyncConf;

/// A queued unit of work of a sync sequence.
struct BXSyncTask
{
    std::string name;
    std::shared_ptr<BXSyncConf> conf;
    /// Started by the file watcher's changes.
    bool autoSync = false;
    bool scheduleSync = false;
    /// List changes for confirmation instead of syncing.
    bool listup = false;
    /// When set, the task is this operation, not a sync.
    std::function<void()> operate;
    /// Done or skipped in the current sequence.
    bool finished = false;
    /// The operation ends the application: it runs even in a cancelled sequence and ends the sequence.
    bool terminateTask = false;

    /// Whether an equal task waits already. A full run is queued behind a waiting automatic one; an automatic run is
    /// queued neither twice nor behind a full run.
    static bool containTask(const std::vector<std::shared_ptr<BXSyncTask>>& list, const BXSyncTask& newTask);
};

} // namespace tidemark
