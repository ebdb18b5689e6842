#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "app/BXSyncProgressModel.h"
#include "app/FrontEnd.h"
#include "app/ScheduleCheck.h"
#include "app/SequenceRun.h"
#include "app/WaitingTasks.h"
#include "platform/Clock.h"
#include "platform/Threads.h"

namespace tidemark {

class BXSyncConf;
class BXSyncConfigManager;
class BXSyncGlobalConf;

/// Turns schedules, watched changes and a person's commands into tasks, and runs them in sequences of which there is
/// one at a time, on a thread of its own. All operations belong to the main thread.
class BXSyncTopMenu
{
public:
    struct Outside
    {
        BXSyncConfigManager& store;
        BXSyncGlobalConf& settings;
        BXSyncProgressModel& progress;
        FrontEnd& frontEnd;
        const Clock& clock;
        SequenceRunMaker makeRun;
    };

    explicit BXSyncTopMenu(Outside outside);
    /// Cancels a running sequence and waits for its end.
    ~BXSyncTopMenu();
    BXSyncTopMenu(const BXSyncTopMenu&) = delete;
    BXSyncTopMenu& operator=(const BXSyncTopMenu&) = delete;

    bool syncExecuting() const;

    /// To be called 1.0 second after the start, and again 1.0 second after each call has returned.
    void scheduleAndAutoSyncCheck();

    /// Starts a sequence of the named configurations that are enabled. While one runs, its progress comes forward or
    /// "ALREADY_SYNC_EXECUTEING" is shown, and nothing else happens; with `force` the running one is cancelled first.
    void syncStart(const std::vector<std::string>& names, bool listup, bool force = false);
    void syncStart(TaskList tasks, bool listup, bool force = false);

    /// The enabled configurations, then with `terminate` a last task that calls `mayTerminate` on the main thread,
    /// even when the sequence is cancelled.
    void execSyncOnTerminate(bool terminate, std::function<void()> mayTerminate);

    /// Cancels the running sequence: its current run ends, its waiting tasks are skipped.
    void cancelSync();

private:
    TaskList dueTasks();
    /// Whether the watcher has noted changes or, where the system cannot watch the folder, it is due to be looked at as
    /// a whole. A folder that was gone is watched again once it is there.
    bool hasWatchedChanges(const std::string& name);
    bool isRunElsewhere(const BXSyncConf& conf) const;
    /// With the configuration as it is on disk; null where it cannot be read there any more.
    std::shared_ptr<BXSyncTask> namedTask(const std::string& name) const;
    /// False when a sequence runs that is not to be pushed aside.
    bool makeRoom(bool force);
    void begin(TaskList tasks, bool listup);

    Outside outside_;
    ScheduleCheck schedules_;
    WaitingTasks addSyncTask_;
    /// Configurations whose watcher has given up, and when their folder was last looked at.
    std::map<std::string, Clock::SteadyTime> unwatched_;
    std::unique_ptr<NamedThread> syncThread_;
};

} // namespace tidemark
