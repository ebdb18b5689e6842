// Starting over: what the operations remove, what they leave, whom they ask, and what stops them.

#include <atomic>
#include <sys/fsuid.h>
#include <thread>
#include <unistd.h>

#include <gmock/gmock.h>

#include "SyncLibrary/BXSyncRunLock.h"
#include "Utils/BXTidemarkUtils.h"
#include "app/BXSyncMaintenanceMenu.h"
#include "app/BXSyncTopMenu.h"
#include "app/SyncTaskRun.h"
#include "config/BXSyncConfigManager.h"
#include "config/BXSyncGlobalConf.h"
#include "platform/MainThread.h"
#include "platform/RunLoop.h"
#include "platform/UserDefaults.h"
#include "tests/service/ServiceWorld.h"

namespace tidemark::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;
namespace fault = devserver::fault;

class MaintenanceCommands : public ServiceWorld
{
protected:
    MaintenanceCommands()
    {
        local.make({{"both.txt", file("b", at(0))}, {"d/in.txt", file("i", at(0))}});
        create();
        EXPECT_EQ(tidemark({"sync"}), 0) << messages;
        // Neither is known to the sync state.
        local.write("mine.txt", "m", at(0));
        remote.write("sync/theirs.txt", "t", at(0));
        remote.write("sync/.hidden/kept.txt", "k", at(0));
    }
    bool remembers() const { return state.exists("config/work.psi"); }
    Tree there() const { return readTree(remote.path("sync")); }
};

TEST_F(MaintenanceCommands, ResetForgetsAndTouchesNoFile)
{
    const auto here = local.read();
    const auto before = there();
    server.clearRequests();
    EXPECT_EQ(tidemark({"reset", "--yes"}), 0) << messages;
    EXPECT_FALSE(remembers());
    EXPECT_EQ(local.read(), here);
    EXPECT_EQ(there(), before);
    EXPECT_TRUE(server.requests().empty());

    // Nothing is known to have been deleted any more: what one side lacks it gets.
    local.remove("both.txt");
    EXPECT_EQ(tidemark({"sync"}), 0) << messages;
    EXPECT_TRUE(local.exists("both.txt"));
}

TEST_F(MaintenanceCommands, DownloadAllMakesTheLocalFolderACopy)
{
    local.write(".hidden/here.txt", "h");
    EXPECT_EQ(tidemark({"download-all", "work", "--yes"}), 0) << messages;
    EXPECT_EQ(local.read(), complete({{"both.txt", file("b")}, {"d/in.txt", file("i")}, {"theirs.txt", file("t")}}));
    EXPECT_TRUE(remembers());
    EXPECT_FALSE(remote.exists("sync/mine.txt"));
}

TEST_F(MaintenanceCommands, UploadAllMakesTheServerFolderACopyButForHiddenEntries)
{
    EXPECT_EQ(tidemark({"upload-all", "--yes"}), 0) << messages;
    auto expected = local.read();
    EXPECT_EQ(expected, complete({{"both.txt", file("b")}, {"d/in.txt", file("i")}, {"mine.txt", file("m")}}));
    expected.merge(complete({{".hidden/kept.txt", file("k")}}));
    EXPECT_EQ(there(), expected);
    EXPECT_TRUE(remembers());
}

TEST_F(MaintenanceCommands, AskFirstAndDoNothingWithoutAYes)
{
    const auto here = local.read();
    const auto before = there();
    for (const auto* command : {"reset", "download-all", "upload-all"}) {
        EXPECT_EQ(tidemark({command}), 6) << "nobody can be asked";
        for (const auto* answer : {"1\n", "\n", "\x04"}) {
            ProgramRun asking(withConfig({command}), state.root(), {}, ProgramRun::Connection::terminal);
            ASSERT_TRUE(asking.waitFor("[1]")) << asking.output();
            asking.type(answer);
            EXPECT_EQ(asking.finish(), 6) << command << asking.output();
        }
    }
    EXPECT_EQ(local.read(), here);
    EXPECT_EQ(there(), before);
    EXPECT_TRUE(remembers());

    ProgramRun asking(withConfig({"upload-all"}), state.root(), {}, ProgramRun::Connection::terminal);
    ASSERT_TRUE(asking.waitFor("[1]"));
    asking.type("2\n");
    EXPECT_EQ(asking.finish(), 0) << asking.output();
    EXPECT_TRUE(remote.exists("sync/mine.txt"));
    EXPECT_EQ(tidemark({"reset", "unknown", "--yes"}), 3);
}

TEST_F(MaintenanceCommands, AListingThatFailsStopsUploadAllBeforeAnythingIsDeleted)
{
    const auto before = there();
    const devserver::FaultEffect failures[] = {fault::Status{500, {}, {}}, fault::Status{200, {}, "<a/>"},
                                               fault::ReplaceBody{"<D:multistatus"}, fault::CutResponse{40}};
    for (const auto& effect : failures) {
        server.addFault({.method = "PROPFIND", .effect = effect});
        EXPECT_EQ(tidemark({"upload-all", "--yes"}), 1) << messages;
        EXPECT_EQ(there(), before);
    }
    server.addFault({.method = "OPTIONS", .effect = fault::Status{503, {}, {}}, .count = devserver::Fault::forever});
    EXPECT_EQ(tidemark({"upload-all", "--yes"}), 1) << messages;
    EXPECT_EQ(there(), before);
}

TEST_F(MaintenanceCommands, AnEntryThatTheServerKeepsIsAskedAbout)
{
    server.addFault({.method = "DELETE", .pattern = "*/both.txt", .effect = fault::Status{423, {}, {}}, .count = 2});
    EXPECT_EQ(tidemark({"upload-all", "--yes"}), 1);
    EXPECT_THAT(messages, HasSubstr("both.txt"));
    EXPECT_FALSE(remote.exists("sync/mine.txt")) << "no sync follows";

    ProgramRun asking(withConfig({"upload-all", "--yes"}), state.root(), {}, ProgramRun::Connection::terminal);
    ASSERT_TRUE(asking.waitFor("[1]"));
    asking.type("2\n");
    EXPECT_EQ(asking.finish(), 0) << asking.output();
    EXPECT_TRUE(remote.exists("sync/mine.txt"));
    EXPECT_FALSE(remote.exists("sync/theirs.txt"));
}

TEST_F(MaintenanceCommands, NoRunComesBetweenTheRemovalAndItsSync)
{
    std::atomic<int> between = -1;
    server.addFault({.method = "DELETE",
                     .effect = fault::Call{[&] {
                                               ProgramRun sync(withConfig({"sync"}), state.root());
                                               between = sync.finish();
                                           },
                                           0}});
    EXPECT_EQ(tidemark({"upload-all", "--yes"}), 0) << messages;
    EXPECT_EQ(between, 7) << "it would take what is being removed for deletions of a person";
    EXPECT_TRUE(local.exists("both.txt"));
    EXPECT_TRUE(remote.exists("sync/both.txt"));
}

/// Answers in turn, and keeps the questions.
class TurnAnswers : public AlertPresenter
{
public:
    int showAlert(const Alert& alert) override
    {
        questions.push_back(alert);
        if (onQuestion) onQuestion();
        if (answers.empty()) return 0;
        const int answer = answers.front();
        answers.erase(answers.begin());
        return answer;
    }
    std::optional<std::string> selectDirectory(const std::string&, const std::string&) override { return {}; }

    std::vector<int> answers;
    std::vector<Alert> questions;
    std::function<void()> onQuestion;
};

class PlainFrontEnd : public FrontEnd
{
public:
    bool loginDialog(BXSyncConf&, LoginReason) override { return false; }
    void runMainLoopUntil(const std::function<bool()>& done) override { loop->runUntil(done); }
    void wakeMainLoop() override { loop->wake(); }
    const std::shared_ptr<RunLoop> loop = RunLoop::current();
};

/// Whoever tests as root is refused nothing: this thread's look at files becomes another user's.
class Unprivileged
{
public:
    /// The trees become that user's.
    explicit Unprivileged(const std::vector<std::string>& trees)
    {
        if (::geteuid() != 0) return;
        for (const auto& tree : trees) {
            EXPECT_EQ(::lchown(tree.c_str(), nobody, nobody), 0);
            for (const auto& entry : std::filesystem::recursive_directory_iterator(tree))
                EXPECT_EQ(::lchown(entry.path().c_str(), nobody, nobody), 0);
        }
        ::setfsuid(nobody);
    }
    ~Unprivileged() { ::setfsuid(::geteuid()); }
    Unprivileged(const Unprivileged&) = delete;
    Unprivileged& operator=(const Unprivileged&) = delete;

private:
    static constexpr uid_t nobody = 65534;
};

class MaintenanceMenu : public ServiceWorld
{
protected:
    MaintenanceMenu()
    {
        MainThread::adopt();
        BXTidemarkUtils::setAlertPresenter(alerts);
        local.make({{"a.txt", file("a", at(0))}, {"locked/b.txt", file("b", at(0))}, {"z.txt", file("z", at(0))}});
        create();
        EXPECT_EQ(tidemark({"sync"}), 0) << messages;
        store.loadAll();
    }
    ~MaintenanceMenu() override { BXTidemarkUtils::setAlertPresenter(nullptr); }

    void waitUntilIdle()
    {
        frontEnd.runMainLoopUntil([this] { return !topMenu.syncExecuting(); });
    }
    std::string psi() const { return state.path("config/work.psi"); }

    std::shared_ptr<TurnAnswers> alerts = std::make_shared<TurnAnswers>();
    UserDefaults defaults{state.path("defaults.plist")};
    BXSyncGlobalConf settings{defaults};
    BXSyncConfigManager store{state.path("config")};
    BXSyncProgressModel progress{Clock::system()};
    PlainFrontEnd frontEnd;
    const SyncTaskRun::Outside runs{store, settings, progress, nullptr};
    BXSyncTopMenu topMenu{{store, settings, progress, frontEnd, Clock::system(),
                           [this](const BXSyncTask& task) { return std::make_shared<SyncTaskRun>(task, runs); }}};
    BXSyncMaintenanceMenu menu{topMenu, store, frontEnd};
};

TEST_F(MaintenanceMenu, ALocalEntryThatStaysIsAskedAbout)
{
    std::filesystem::permissions(local.path("locked"), std::filesystem::perms{0555});
    bool held = false;
    alerts->onQuestion = [&] {
        const auto lock = BXSyncRunLock::tryAcquire(psi());
        held = lock && !*lock;
    };
    {
        const Unprivileged rights({local.root(), state.root()});
        alerts->answers = {1, 0};
        EXPECT_EQ(menu.downloadAll(), BXSyncMaintenanceMenu::Outcome::stopped);
        ASSERT_EQ(alerts->questions.size(), 2U);
        EXPECT_EQ(alerts->questions[1].style, AlertStyle::critical);
        EXPECT_THAT(alerts->questions[1].message, HasSubstr(local.path("locked")));
        EXPECT_THAT(alerts->questions[1].choices.size(), 2U);
        EXPECT_TRUE(held) << "a run would take what is removed for deletions of a person";
        EXPECT_FALSE(topMenu.syncExecuting());

        alerts->answers = {1, 1};
        EXPECT_EQ(menu.downloadAll(), BXSyncMaintenanceMenu::Outcome::done);
        waitUntilIdle();
    }
    std::filesystem::permissions(local.path("locked"), std::filesystem::perms{0755});
    EXPECT_TRUE(inStep());
    EXPECT_TRUE(local.exists("a.txt"));
}

TEST_F(MaintenanceMenu, RefusedDuringASequence)
{
    server.addFault({.method = "OPTIONS", .effect = fault::Stall{}});
    topMenu.syncStart(std::vector<std::string>{"work"}, false);
    ASSERT_TRUE(server.waitForFaults(1));
    using Menu = BXSyncMaintenanceMenu;
    for (const auto operation : {&Menu::syncReset, &Menu::downloadAll, &Menu::uploadAll})
        EXPECT_EQ((menu.*operation)(), Menu::Outcome::refused);
    EXPECT_EQ(alerts->questions.size(), 3U);
    for (const auto& alert : alerts->questions)
        EXPECT_EQ(alert.choices.size(), 1U) << "told, not asked";
    topMenu.cancelSync();
    waitUntilIdle();
    EXPECT_TRUE(state.exists("config/work.psi"));
}

TEST_F(MaintenanceMenu, EndsAtOnceWhileTheProgramCloses)
{
    server.addFault({.method = "DELETE", .effect = fault::Stall{}});
    alerts->answers = {1, 1};
    std::thread closing([this] {
        EXPECT_TRUE(server.waitForFaults(1));
        frontEnd.loop->post([this] { menu.stop(); });
    });
    EXPECT_EQ(menu.uploadAll(), BXSyncMaintenanceMenu::Outcome::stopped);
    closing.join();
    EXPECT_EQ(menu.downloadAll(), BXSyncMaintenanceMenu::Outcome::stopped);
    EXPECT_FALSE(topMenu.syncExecuting());
    EXPECT_EQ(alerts->questions.size(), 2U) << "nobody is there to be told";
    EXPECT_TRUE(local.exists("a.txt"));
}

TEST_F(MaintenanceMenu, WithoutAnEnabledConfigurationTheyOnlyAsk)
{
    ASSERT_EQ(tidemark({"config", "set", "work", "--disable"}), 0);
    store.loadAll();
    alerts->answers = {1, 1, 1};
    EXPECT_EQ(menu.syncReset(), BXSyncMaintenanceMenu::Outcome::done);
    EXPECT_EQ(menu.downloadAll(), BXSyncMaintenanceMenu::Outcome::done);
    waitUntilIdle();
    EXPECT_EQ(menu.uploadAll(), BXSyncMaintenanceMenu::Outcome::done);
    waitUntilIdle();
    EXPECT_EQ(alerts->questions.size(), 3U);
    EXPECT_TRUE(inStep());
    EXPECT_TRUE(state.exists("config/work.psi"));
}

} // namespace
} // namespace tidemark::test
