#pragma once

#include <functional>
#include <memory>
#include <string>

#include "app/BXSyncProgressModel.h"
#include "app/BXSyncTopMenu.h"
#include "app/ConfigurationChanges.h"
#include "app/FrontEnd.h"
#include "app/ServedDirectory.h"
#include "platform/Clock.h"
#include "platform/RunLoop.h"

namespace tidemark {

class BXSyncConfirmDelegate;

/// Tidemark without a screen: watches, keeps the schedules and synchronises until it is told to end. Belongs to the
/// main thread, whose RunLoop it serves; terminate() and reload() may be called from any thread.
class SyncService final : private FrontEnd
{
public:
    struct Outside
    {
        BXSyncConfigManager& store;
        BXSyncGlobalConf& settings;
        const Clock& clock;
        /// Answers the questions of runs.
        BXSyncConfirmDelegate& confirmDelegate;
        /// What happens, a sentence at a time; any thread.
        std::function<void(const std::string&)> say;
    };

    /// The program's name is what a second one is told.
    SyncService(Outside outside, std::string program);
    ~SyncService() override;

    /// Takes the configuration directory for this process and opens the status socket; "" or why not.
    std::string begin() { return served_.begin(); }
    /// Serves until terminate() has had its effect.
    void serve();

    /// Ends the running sequence; synchronises once more where the settings say so; then serve() returns.
    void terminate();
    void reload();

private:
    void check();
    void armCheck();
    void beginTermination();
    void end();

    bool loginDialog(BXSyncConf& conf, LoginReason reason) override;
    void runMainLoopUntil(const std::function<bool()>& done) override;
    void wakeMainLoop() override;
    void watchDidFail(const std::string& confName, const DirectoryWatchFailure& failure) override;
    void taskDidBegin(const BXSyncTask& task) override;
    void taskDidEnd(const BXSyncTask& task, SequenceOutcome outcome) override;

    Outside outside_;
    ServedDirectory served_;
    const std::shared_ptr<RunLoop> loop_;
    BXSyncProgressModel progress_;
    std::unique_ptr<ConfigurationChanges> changes_;
    BXSyncTopMenu menu_;
    bool terminating_ = false;
    bool ended_ = false;
};

} // namespace tidemark
