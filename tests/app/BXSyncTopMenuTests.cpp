#include "app/BXSyncTopMenu.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "FakeSequenceRun.h"
#include "SyncLibrary/BXSyncFileWatcher.h"
#include "Utils/BXTidemarkUtils.h"
#include "config/BXSyncConfigManager.h"
#include "config/BXSyncGlobalConf.h"
#include "platform/MainThread.h"
#include "platform/RunLoop.h"
#include "platform/UserDefaults.h"
#include "support/ManualClock.h"
#include "support/TempTree.h"

namespace tidemark {
namespace {

using test::FakeSequenceRun;
using test::RunScript;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class RecordingFrontEnd : public FrontEnd
{
public:
    void bringProgressToFront() override { calls.push_back("front"); }
    void addList(const std::vector<BXSyncFileDataInfo*>&, const std::string& name) override { listed.push_back(name); }
    void showSyncList() override { calls.push_back("list window"); }
    bool loginDialog(BXSyncConf&, LoginReason) override
    {
        calls.push_back("login dialog");
        return loginAnswer;
    }
    void runMainLoopUntil(const std::function<bool()>& done) override { loop->runUntil(done); }
    void wakeMainLoop() override { loop->wake(); }
    void taskDidBegin(const BXSyncTask&) override { ++begun; }
    void taskDidEnd(const BXSyncTask&, SequenceOutcome) override { ++ended; }

    int begun = 0; // sync thread, read after the sequence, like the one below
    int ended = 0;
    std::shared_ptr<RunLoop> loop = RunLoop::current();
    std::vector<std::string> calls;
    std::vector<std::string> listed; // sync thread, read after the sequence
    bool loginAnswer = false;
};

class RecordingAlerts : public AlertPresenter
{
public:
    int showAlert(const Alert& alert) override
    {
        alerts.push_back(alert.message);
        return 0;
    }
    std::optional<std::string> selectDirectory(const std::string&, const std::string&) override { return {}; }
    std::vector<std::string> alerts;
};

class BXSyncTopMenuTest : public ::testing::Test
{
protected:
    BXSyncTopMenuTest()
    {
        MainThread::adopt();
        BXTidemarkUtils::setAlertPresenter(alerts);
        setenv("TZ", "Europe/Berlin", 1);
        tzset();
    }
    ~BXSyncTopMenuTest() override { BXTidemarkUtils::setAlertPresenter(nullptr); }

    std::shared_ptr<BXSyncConf> configure(const std::string& name)
    {
        auto conf = std::make_shared<BXSyncConf>();
        conf->setName(name);
        conf->setServerURL("http://127.0.0.1:9/" + name);
        tree.makeFolder(name);
        conf->setLocalPath(tree.path(name));
        conf->info()->setIsUseAuthorization(true);
        clock.advance(std::chrono::seconds(1));
        conf->setCreationDate(clock.wallNow());
        return conf;
    }
    void save(const std::shared_ptr<BXSyncConf>& conf) { ASSERT_THAT(store.save({{conf->name(), conf}}), IsEmpty()); }
    void addConfigurations(const std::vector<std::string>& names)
    {
        for (const auto& name : names)
            save(configure(name));
    }
    /// A configuration with one schedule.
    void addScheduled(const std::string& name, std::vector<BXSyncSchedule> schedules)
    {
        auto conf = configure(name);
        conf->setSyncSchedules(std::move(schedules));
        save(conf);
    }
    void waitUntilIdle()
    {
        frontEnd.runMainLoopUntil([this] { return !menu.syncExecuting(); });
    }
    /// One check at a time of day in Berlin, 2026-11-`day` (winter time).
    std::vector<std::string> checkAt(int day, int hour, int minute)
    {
        const auto before = script.events().size();
        clock.setWall(*dates::parseIsoDate("2026-11-01T00:00:00Z") + std::chrono::hours(24 * (day - 1) + hour - 1) +
                      std::chrono::minutes(minute));
        menu.scheduleAndAutoSyncCheck();
        waitUntilIdle();
        auto events = script.events();
        return {events.begin() + static_cast<std::ptrdiff_t>(before), events.end()};
    }

    test::TempTree tree;
    testing::ManualClock clock;
    std::shared_ptr<RecordingAlerts> alerts = std::make_shared<RecordingAlerts>();
    UserDefaults defaults{tree.path("defaults.plist")};
    BXSyncGlobalConf settings{defaults};
    BXSyncConfigManager store{tree.path("config"), clock};
    BXSyncProgressModel progress{clock};
    RecordingFrontEnd frontEnd;
    RunScript script;
    BXSyncTopMenu menu{{store, settings, progress, frontEnd, clock,
                        [this](const BXSyncTask& task) { return std::make_shared<FakeSequenceRun>(script, task); }}};
};

TEST_F(BXSyncTopMenuTest, RunsEnabledConfigurationsInOrderAndOneAfterAnother)
{
    addConfigurations({"b", "a", "c"});
    auto disabled = configure("off");
    disabled->setEnable(false);
    save(disabled);

    menu.syncStart({"b", "off", "a", "missing", "c"}, false);
    waitUntilIdle();
    EXPECT_THAT(script.events(), ElementsAre("sync b", "sync a", "sync c"));

    menu.syncStart(std::vector<std::string>{"a"}, true);
    waitUntilIdle();
    EXPECT_THAT(frontEnd.listed, ElementsAre("a"));
    EXPECT_THAT(frontEnd.calls, ElementsAre("list window"));
}

TEST_F(BXSyncTopMenuTest, SecondStartIsRefusedAndForcedStartTakesTheRoom)
{
    addConfigurations({"a", "b"});
    script.set("a", {.refusal = {}, .held = true, .throws = false});
    menu.syncStart(std::vector<std::string>{"a", "b"}, false);
    script.waitFor("sync a");

    menu.syncStart(std::vector<std::string>{"b"}, false);
    EXPECT_THAT(frontEnd.calls, ElementsAre("front"));
    settings.setHideProgress(true);
    menu.syncStart(std::vector<std::string>{"b"}, false);
    EXPECT_EQ(alerts->alerts.size(), 1U);

    menu.syncStart(std::vector<std::string>{"b"}, false, true);
    waitUntilIdle();
    // The first sequence was cancelled inside a, so its b was skipped; the forced one ran b.
    EXPECT_THAT(script.events(), ElementsAre("sync a", "sync b"));
}

TEST_F(BXSyncTopMenuTest, CancelSkipsTheRestButNotTheTerminateTask)
{
    addConfigurations({"a", "b"});
    script.set("a", {.refusal = {}, .held = true, .throws = false});
    bool mayTerminate = false;
    menu.execSyncOnTerminate(true, [&] {
        mayTerminate = true;
        frontEnd.loop->wake();
    });
    script.waitFor("sync a");
    menu.cancelSync();
    frontEnd.runMainLoopUntil([&] { return mayTerminate; });
    waitUntilIdle();
    EXPECT_THAT(script.events(), ElementsAre("sync a"));
}

TEST_F(BXSyncTopMenuTest, OnlyManualRunsAskForWhatALoginLacked)
{
    addScheduled("a", {BXSyncSchedule(-1, -1, 15)});
    script.set("a", {.refusal = LoginReason::serverAuthentication, .held = false, .throws = false});

    EXPECT_THAT(checkAt(3, 10, 15), ElementsAre("refused a"));
    EXPECT_THAT(frontEnd.calls, IsEmpty());

    menu.syncStart(std::vector<std::string>{"a"}, false);
    waitUntilIdle();
    frontEnd.loginAnswer = true;
    menu.syncStart(std::vector<std::string>{"a"}, false);
    waitUntilIdle();
    EXPECT_THAT(frontEnd.calls, ElementsAre("login dialog", "login dialog"));
    EXPECT_THAT(script.events(), ElementsAre("refused a", "refused a", "mended a", "sync a"));
}

TEST_F(BXSyncTopMenuTest, WatchedChangesBecomeOneAutomaticRunAndAFailedLoginDropsThem)
{
    auto conf = configure("a");
    conf->setAutosync(true);
    store.startWatching();
    save(conf);
    auto watcher = store.fileWatcher("a");
    ASSERT_TRUE(watcher);
    script.set("a", {.refusal = LoginReason::connectionFailed, .held = false, .throws = false});

    watcher->presentedSubitemDidChange(tree.path("a/file.txt"));
    EXPECT_THAT(checkAt(3, 10, 15), ElementsAre("refused a"));
    EXPECT_THAT(watcher->modifiedList(false), IsEmpty());
    EXPECT_THAT(checkAt(3, 10, 16), IsEmpty());
}

TEST_F(BXSyncTopMenuTest, WaitingTasksJoinTheRunningSequence)
{
    addConfigurations({"a"});
    addScheduled("b", {BXSyncSchedule(-1, 10, 30), BXSyncSchedule(3, 10, 30)});
    script.set("a", {.refusal = {}, .held = true, .throws = false});
    menu.syncStart(std::vector<std::string>{"a"}, false);
    script.waitFor("sync a");

    // Two schedules of one minute (2026-11-03 is a Tuesday), checked twice: one task.
    clock.setWall(*dates::parseIsoDate("2026-11-03T09:30:00Z"));
    menu.scheduleAndAutoSyncCheck();
    menu.scheduleAndAutoSyncCheck();
    script.release();
    waitUntilIdle();
    EXPECT_THAT(script.events(), ElementsAre("sync a", "scheduled b"));
}

TEST_F(BXSyncTopMenuTest, SchedulesFireOncePerHourDayAndWeekday)
{
    addScheduled("daily", {BXSyncSchedule(-1, 10, 30)});
    addScheduled("hourly", {BXSyncSchedule(-1, -1, 15)});
    addScheduled("tuesday", {BXSyncSchedule(3, 9, 0)});
    auto unsigned_ = configure("without sign-in");
    unsigned_->info()->setIsUseAuthorization(false);
    unsigned_->setSyncSchedules({BXSyncSchedule(-1, -1, 15)});
    save(unsigned_);

    EXPECT_THAT(checkAt(3, 9, 0), ElementsAre("scheduled tuesday"));
    EXPECT_THAT(checkAt(3, 9, 0), IsEmpty());
    EXPECT_THAT(checkAt(3, 9, 15), ElementsAre("scheduled hourly"));
    EXPECT_THAT(checkAt(3, 10, 15), ElementsAre("scheduled hourly"));
    EXPECT_THAT(checkAt(3, 10, 30), ElementsAre("scheduled daily"));
    EXPECT_THAT(checkAt(3, 10, 30), IsEmpty());
    EXPECT_THAT(checkAt(4, 9, 0), IsEmpty());
    EXPECT_THAT(checkAt(4, 10, 30), ElementsAre("scheduled daily"));
    EXPECT_THAT(checkAt(10, 9, 0), ElementsAre("scheduled tuesday"));
}

TEST_F(BXSyncTopMenuTest, TheHourThatSummerTimeEndsWithFiresOnce)
{
    addScheduled("night", {BXSyncSchedule(-1, 2, 30)});
    auto checkUtc = [this](const char* iso) {
        const auto before = script.events().size();
        clock.setWall(*dates::parseIsoDate(iso));
        menu.scheduleAndAutoSyncCheck();
        waitUntilIdle();
        return script.events().size() - before;
    };
    // 2026-10-25: 02:30 comes twice, at 00:30 and 01:30 UTC; the clock's hour does not change between them.
    EXPECT_EQ(checkUtc("2026-10-25T00:30:00Z"), 1U);
    EXPECT_EQ(checkUtc("2026-10-25T01:30:00Z"), 0U);
    // 2027-03-28: 02:30 does not exist.
    EXPECT_EQ(checkUtc("2027-03-28T00:30:00Z"), 0U);
    EXPECT_EQ(checkUtc("2027-03-28T01:30:00Z"), 0U);
}

TEST_F(BXSyncTopMenuTest, AFaultInsideATaskEndsTheSequenceWithAnAlert)
{
    addConfigurations({"a", "b"});
    script.set("a", {.refusal = {}, .held = false, .throws = true});
    menu.syncStart(std::vector<std::string>{"a", "b"}, false);
    waitUntilIdle();
    EXPECT_THAT(script.events(), IsEmpty());
    EXPECT_EQ(alerts->alerts.size(), 1U);
    EXPECT_EQ(frontEnd.begun, 1);
    EXPECT_EQ(frontEnd.ended, 1);

    menu.syncStart(std::vector<std::string>{"b"}, false);
    waitUntilIdle();
    EXPECT_THAT(script.events(), ElementsAre("sync b"));

    bool mayTerminate = false;
    menu.execSyncOnTerminate(true, [&] {
        mayTerminate = true;
        frontEnd.loop->wake();
    });
    frontEnd.runMainLoopUntil([&] { return mayTerminate; });
    waitUntilIdle();
    EXPECT_THAT(script.events(), ElementsAre("sync b")) << "whoever waits for the end is not left waiting";
}

TEST_F(BXSyncTopMenuTest, AConfigurationThatCannotBeReadAnyMoreIsLeftOut)
{
    addScheduled("a", {BXSyncSchedule(-1, -1, 15)});
    auto watched = configure("b");
    watched->setAutosync(true);
    store.startWatching();
    save(watched);
    tree.write("config/a.xml", "<plist>");
    tree.write("config/b.xml", "");
    store.fileWatcher("b")->presentedSubitemDidChange(tree.path("b/file.txt"));

    EXPECT_THAT(checkAt(3, 10, 15), IsEmpty());
    menu.syncStart(std::vector<std::string>{"a", "b"}, false);
    waitUntilIdle();
    menu.execSyncOnTerminate(false, {});
    waitUntilIdle();
    EXPECT_THAT(script.events(), IsEmpty());
    EXPECT_EQ(store.fileWatcher("b")->modifiedList(false).size(), 1U) << "noted until it can be read again";
}

} // namespace
} // namespace tidemark
