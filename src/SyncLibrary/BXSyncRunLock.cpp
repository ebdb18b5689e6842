#include "SyncLibrary/BXSyncRunLock.h"

namespace tidemark {

Result<std::unique_ptr<BXSyncRunLock>> BXSyncRunLock::tryAcquire(const std::string& syncinfoPath)
{
    if (auto made = fs::createFolders(fs::parentPath(syncinfoPath)); !made) return failure(std::move(made.error()));
    auto lock = fs::FileLock::tryAcquire(pathFor(syncinfoPath));
    if (!lock) return failure(std::move(lock.error()));
    return std::unique_ptr<BXSyncRunLock>(*lock ? new BXSyncRunLock(std::move(*lock)) : nullptr);
}

} // namespace tidemark
