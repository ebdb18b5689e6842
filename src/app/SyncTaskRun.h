#pragma once

#include <memory>
#include <mutex>

#include "app/BXSyncProgressModel.h"
#include "app/SequenceRun.h"
#include "platform/Threads.h"

namespace tidemark {

class BXSyncConfigManager;
class BXSyncConfirmDelegate;
class BXSyncGlobalConf;
class BXSyncManager;
class SyncItems;

/// The run of a task against its server: an automatic one looks only at the watched paths.
class SyncTaskRun final : public SequenceRun
{
public:
    /// What runs take from the program around them; all outlives them. `confirmDelegate` is null for none.
    struct Outside
    {
        BXSyncConfigManager& store;
        const BXSyncGlobalConf& settings;
        BXSyncProgressModel& progress;
        BXSyncConfirmDelegate* confirmDelegate;
        /// Where the items are copied to, or null.
        SyncItems* items = nullptr;
    };

    SyncTaskRun(const BXSyncTask& task, const Outside& outside);
    ~SyncTaskRun() override;

    bool login(const BXSyncConf::LoginHandler& handler) override;
    void start() override;
    bool waitUntilFinished(std::chrono::nanoseconds step) override;
    void cancel() override;
    bool isCancelled() const override;
    SequenceOutcome outcome() const override;
    std::vector<BXSyncFileDataInfo*> modifiedItems() const override;

private:
    class Meter;

    const std::shared_ptr<BXSyncConf> conf_;
    const bool listup_;
    BXSyncProgressModel& progress_;
    SyncItems* const items_;
    mutable std::mutex mutex_; // guards cancelled_
    bool cancelled_ = false;
    const std::unique_ptr<BXSyncManager> manager_;
    const std::unique_ptr<Meter> meter_;
    std::shared_ptr<NamedThread> thread_;
};

} // namespace tidemark
