#include "config/BXSyncTask.h"

#include <algorithm>

namespace tidemark {

bool BXSyncTask::containTask(const std::vector<std::shared_ptr<BXSyncTask>>& list, const BXSyncTask& newTask)
{
    if (newTask.name.empty()) return false;
    return std::any_of(list.begin(), list.end(), [&](const std::shared_ptr<BXSyncTask>& queued) {
        if (queued->finished || queued->name != newTask.name || queued->listup != newTask.listup) return false;
        return !queued->autoSync || newTask.autoSync;
    });
}

} // namespace tidemark
