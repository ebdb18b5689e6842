#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "SyncLibrary/BXSyncCommandRunning.h"
#include "SyncLibrary/BXSyncConfirmInfo.h"

namespace tidemark {

class LogFacade;

/// Whether and how often a lost connection is tried again.
struct BXSyncReconnectRule
{
    bool reconnect = true;
    /// Tries after the first.
    std::uint64_t limit = 3;
    /// Seconds before each.
    std::uint64_t interval = 10;
};

/// Runs a run's commands one at a time on the thread that asks, and holds the run's cancel flag. Factories may run
/// commands themselves.
class BXSyncCommandRunner : public BXSyncCommandRunning
{
public:
    /// `rule` is asked at every command.
    BXSyncCommandRunner(std::function<BXSyncReconnectRule()> rule, std::shared_ptr<LogFacade> logger);
    ~BXSyncCommandRunner() override;

    /// Not owned; null for none. Set while no command runs.
    void setConfirmDelegate(BXSyncConfirmDelegate* delegate) { confirmDelegate_ = delegate; }

    Result<std::shared_ptr<ASWDCmd>> davConnect(const CommandFactory& factory, const AcceptStatus& accept) override;

    /// Message key of the last request's failure, "" after a success. The run's threads.
    const std::string& lastErrorMessage() const { return lastErrorMessage_; }

    bool cancelFlg() const { return cancelFlg_; }
    /// Setting it ends the command that runs, and every wait for a reconnection; it is not cleared within a run. Any
    /// thread.
    void setCancelFlg(bool value);

    /// The command that runs or ran last; null before the first and after clearCurrentCmd(). Any thread.
    std::shared_ptr<ASWDCmd> currentCmd() const;
    void clearCurrentCmd();

private:
    struct Attempts;

    bool admit(const std::shared_ptr<ASWDCmd>& command);
    /// True when an answer has come that is to be judged.
    bool run(ASWDCmd& command, Attempts& attempts);
    bool execute(ASWDCmd& command, Attempts& attempts);
    void noteFailure(const ASWDCmd& command, Attempts& attempts) const;
    bool mayRetry(const BXSyncReconnectRule& rule, Attempts& attempts);
    bool isReconnectWanted(const BXSyncReconnectRule& rule);
    void waitInterval(std::uint64_t seconds);

    const std::function<BXSyncReconnectRule()> rule_;
    const std::shared_ptr<LogFacade> logger_;
    BXSyncConfirmDelegate* confirmDelegate_ = nullptr;

    std::string lastErrorMessage_;

    mutable std::mutex mutex_; // guards currentCmd_; orders the flag with it
    std::condition_variable cancelled_;
    std::atomic<bool> cancelFlg_ = false;
    std::shared_ptr<ASWDCmd> currentCmd_;
};

} // namespace tidemark
