#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <vector>

#include "config/BXSyncConf.h"

namespace tidemark {

struct BXSyncFileDataInfo;
struct BXSyncTask;

/// How the run of one task ended.
enum class SequenceOutcome
{
    done,
    someItemsFailed,
    listupFailed,
    cancelled,
    loginFailed,
    refusedAlreadyRunning
};

/// Login and run of one task, as a sequence sees it. Belongs to the sync thread; cancel() may come from any thread.
class SequenceRun
{
public:
    virtual ~SequenceRun() = default;

    /// Blocks until the server has answered. `handler` is asked on the calling thread when it refused.
    virtual bool login(const BXSyncConf::LoginHandler& handler) = 0;
    /// Starts the listing or the sync, as the task says.
    virtual void start() = 0;
    /// True once the run has ended; returns at once then, else after `step`.
    virtual bool waitUntilFinished(std::chrono::nanoseconds step) = 0;
    virtual void cancel() = 0;
    virtual bool isCancelled() const = 0;
    virtual SequenceOutcome outcome() const = 0;
    /// The listed changes; they live as long as this.
    virtual std::vector<BXSyncFileDataInfo*> modifiedItems() const = 0;
};

using SequenceRunMaker = std::function<std::shared_ptr<SequenceRun>(const BXSyncTask&)>;

} // namespace tidemark
