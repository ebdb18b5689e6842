#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "app/SequenceRun.h"
#include "config/BXSyncConf.h"

namespace tidemark {

struct BXSyncFileDataInfo;
struct BXSyncTask;
struct DirectoryWatchFailure;

/// What the application's logic needs of the program around it: a service without a screen or a desktop. Called on the
/// main thread unless said otherwise; nothing here blocks but loginDialog() and runMainLoopUntil().
class FrontEnd
{
public:
    virtual ~FrontEnd() = default;

    /// A sequence begins; `progressShown` unless the settings hide the progress window.
    virtual void sequenceWillBegin(bool /*progressShown*/) {}
    virtual void bringProgressToFront() {}
    virtual void hideProgress() {}

    /// The changes of one configuration, for the list window. Sync thread; the items are copied before it returns.
    virtual void addList(const std::vector<BXSyncFileDataInfo*>& /*items*/, const std::string& /*confName*/) {}
    virtual void showSyncList() {}

    /// Asks for what a login lacked; true when it is worth another try.
    virtual bool loginDialog(BXSyncConf& conf, LoginReason reason) = 0;

    /// Serves the main thread until `done` answers true; it is asked again after wakeMainLoop().
    virtual void runMainLoopUntil(const std::function<bool()>& done) = 0;
    /// Any thread.
    virtual void wakeMainLoop() = 0;

    /// Changes below the configuration's folder are not noticed any more. It is looked at as a whole every minute;
    /// where it is gone, it is looked for every minute. Said once.
    virtual void watchDidFail(const std::string& /*confName*/, const DirectoryWatchFailure& /*failure*/) {}

    /// Sync thread. A task that failed to log in ends without having begun to run.
    virtual void taskDidBegin(const BXSyncTask& /*task*/) {}
    virtual void taskDidEnd(const BXSyncTask& /*task*/, SequenceOutcome /*outcome*/) {}
};

} // namespace tidemark
