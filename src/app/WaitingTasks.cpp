#include "app/WaitingTasks.h"

namespace tidemark {

void WaitingTasks::add(const TaskList& tasks)
{
    std::lock_guard lock(mutex_);
    for (const auto& task : tasks)
        if (!BXSyncTask::containTask(tasks_, *task)) tasks_.push_back(task);
}

TaskList WaitingTasks::takeThoseMissingIn(const TaskList& running)
{
    std::lock_guard lock(mutex_);
    TaskList missing;
    for (auto& task : tasks_)
        if (!BXSyncTask::containTask(running, *task)) missing.push_back(std::move(task));
    tasks_.clear();
    return missing;
}

bool WaitingTasks::empty() const
{
    std::lock_guard lock(mutex_);
    return tasks_.empty();
}

} // namespace tidemark
