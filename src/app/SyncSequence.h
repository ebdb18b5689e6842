#pragma once

#include <memory>
#include <optional>

#include "app/BXSyncProgressModel.h"
#include "app/FrontEnd.h"
#include "app/SequenceRun.h"
#include "app/WaitingTasks.h"

namespace tidemark {

class BXSyncConfigManager;

/// The body of the sync thread: runs tasks strictly one after another, and those that join meanwhile.
class SyncSequence
{
public:
    struct Outside
    {
        BXSyncConfigManager& store;
        BXSyncProgressModel& progress;
        FrontEnd& frontEnd;
        WaitingTasks& waiting;
        SequenceRunMaker makeRun;
    };

    SyncSequence(Outside outside, TaskList tasks) : outside_(std::move(outside)), tasks_(std::move(tasks)) {}

    /// Returns when the last task has ended. An exception inside a task ends the sequence with an alert; of the tasks
    /// left only the one that ends the application is run.
    void run();

private:
    void runTasks();
    void runTerminateTask();
    /// Takes the waiting tasks over, unless the sequence was cancelled.
    void checkAddingSyncTask();
    /// False after a task that ends the application.
    bool runOperation(BXSyncTask& task);
    void runSync(BXSyncTask& task, std::size_t index);
    void showPosition(const BXSyncTask& task, std::size_t index);
    /// The run is shared with whoever cancels it meanwhile.
    SequenceOutcome loginAndRun(BXSyncTask& task, const std::shared_ptr<SequenceRun>& run);
    bool askForLogin(const BXSyncTask& task, BXSyncConf& conf, LoginReason reason);
    void dropWatchedChanges(const BXSyncTask& task);

    Outside outside_;
    TaskList tasks_;
};

} // namespace tidemark
