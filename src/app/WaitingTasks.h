#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "config/BXSyncTask.h"

namespace tidemark {

using TaskList = std::vector<std::shared_ptr<BXSyncTask>>;

/// The tasks that wait to join the running sequence: added by the once-a-second check, taken by the sync thread.
class WaitingTasks
{
public:
    /// Adds those for which no equal task waits already.
    void add(const TaskList& tasks);
    /// Empties the list; what is not already in `running` comes back, in order.
    TaskList takeThoseMissingIn(const TaskList& running);
    bool empty() const;

private:
    mutable std::mutex mutex_; // guards tasks_
    TaskList tasks_;
};

} // namespace tidemark
