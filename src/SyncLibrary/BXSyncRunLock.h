#pragma once

#include <memory>
#include <string>

#include "platform/FileSystem.h"
#include "platform/Result.h"

namespace tidemark {

/// Held while a configuration is worked on, so that one run of it is under way at a time, whichever program started
/// it. Whoever moves or deletes the sync-info file takes it too.
class BXSyncRunLock
{
public:
    /// Null while somebody else holds it.
    static Result<std::unique_ptr<BXSyncRunLock>> tryAcquire(const std::string& syncinfoPath);
    /// "<sync-info file>.lock"
    static std::string pathFor(const std::string& syncinfoPath) { return syncinfoPath + ".lock"; }

private:
    explicit BXSyncRunLock(std::unique_ptr<fs::FileLock> lock) : lock_(std::move(lock)) {}

    std::unique_ptr<fs::FileLock> lock_;
};

} // namespace tidemark
