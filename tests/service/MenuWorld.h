#pragma once

#include <gtest/gtest.h>

#include "SyncLibrary/BXSyncFileWatcher.h"
#include "app/BXSyncTopMenu.h"
#include "app/SyncTaskRun.h"
#include "config/BXSyncConfigManager.h"
#include "config/BXSyncGlobalConf.h"
#include "platform/MainThread.h"
#include "platform/RunLoop.h"
#include "platform/UserDefaults.h"
#include "tests/support/ManualClock.h"
#include "tests/support/SyncWorld.h"

namespace tidemark::test {

class QuietFrontEnd : public FrontEnd
{
public:
    bool loginDialog(BXSyncConf&, LoginReason) override { return false; }
    void runMainLoopUntil(const std::function<bool()>& done) override { loop->runUntil(done); }
    void wakeMainLoop() override { loop->wake(); }
    void taskDidEnd(const BXSyncTask&, SequenceOutcome outcome) override
    {
        ++ended;
        if (outcome != SequenceOutcome::done) ++failed;
    }
    void watchDidFail(const std::string& name, const DirectoryWatchFailure&) override { unwatched.push_back(name); }
    const std::shared_ptr<RunLoop> loop = RunLoop::current();
    std::vector<std::string> unwatched;
    int ended = 0; // sync thread, read between sequences
    int failed = 0;
};

/// The logic of a service in this process, with real runs and the real watcher; the clock is moved by hand.
class MenuWorld : public ::testing::Test
{
protected:
    MenuWorld()
    {
        MainThread::adopt();
        auto conf = std::make_shared<BXSyncConf>();
        conf->setName("work");
        conf->setServerURL(world.server->url("sync"));
        conf->setLocalPath(local.root());
        conf->setAutosync(true);
        EXPECT_TRUE(store.save({{"work", conf}}).empty());
        store.startWatching();
        watcher = store.fileWatcher("work");
    }

    /// The once-a-second check, and the end of what it begins.
    void run(std::chrono::seconds later = std::chrono::seconds(1))
    {
        DirectoryWatchService::shared().drain();
        clock.advance(later);
        menu.scheduleAndAutoSyncCheck();
        frontEnd.runMainLoopUntil([this] { return !menu.syncExecuting(); });
    }
    SyncWorld world{devserver::Mode::Product};
    TempTree& local = world.client.local;
    TempTree state;
    testing::ManualClock clock;
    UserDefaults defaults{state.path("defaults.plist")};
    BXSyncGlobalConf settings{defaults};
    BXSyncConfigManager store{state.path("config"), clock};
    BXSyncProgressModel progress{clock};
    QuietFrontEnd frontEnd;
    const SyncTaskRun::Outside runs{store, settings, progress, nullptr};
    BXSyncTopMenu menu{{store, settings, progress, frontEnd, clock,
                        [this](const BXSyncTask& task) { return std::make_shared<SyncTaskRun>(task, runs); }}};
    std::shared_ptr<BXSyncFileWatcher> watcher;
};

} // namespace tidemark::test
