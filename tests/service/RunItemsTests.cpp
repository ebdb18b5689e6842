// The items of real runs, as a window follows them.

#include <gmock/gmock.h>

#include "Logger/BXLogger.h"
#include "app/SyncItems.h"
#include "config/BXSyncTask.h"
#include "platform/FileSystem.h"
#include "tests/service/MenuWorld.h"

namespace tidemark::test {
namespace {

using State = SyncItems::State;

class RunItems : public MenuWorld
{
protected:
    struct Shown
    {
        State state;
        std::string reason;
    };

    /// Runs the configuration, and gives each item's end.
    std::map<std::string, Shown> sync()
    {
        SyncItems items;
        SyncTaskRun::Outside outside = runs;
        outside.items = &items;
        BXSyncTask task;
        task.name = "work";
        task.conf = store.get("work", false);
        {
            SyncTaskRun running(task, outside);
            EXPECT_TRUE(running.login({}));
            running.start();
            while (!running.waitUntilFinished(std::chrono::seconds(1))) {
            }
        }
        return shown(items.newsSince({}), items);
    }

private:
    static std::map<std::string, Shown> shown(const SyncItems::News& news, const SyncItems& items)
    {
        std::map<std::string, Shown> ends;
        std::vector<std::string> paths;
        for (const auto& list : news.lists)
            for (const auto& item : list->items) {
                EXPECT_EQ(list->configuration, "work");
                ends[item.path].state = State::waiting;
                paths.push_back(item.path);
            }
        for (const auto& [row, state] : news.changes)
            ends[paths.at(row)] = {state, items.reason(row)};
        return ends;
    }
};

TEST_F(RunItems, EachItemEndsAsItDidOnBothSides)
{
    local.make({{"a.txt", file("a", at(0))}, {"refused.txt", file("r", at(0))}});
    world.writeOnServer("theirs.txt", "t", at(0));
    world.server->addFault({.method = "PUT",
                            .pattern = "*/refused.txt",
                            .effect = devserver::fault::Status{423, {}, {}},
                            .count = devserver::Fault::forever});
    const auto ends = sync();
    ASSERT_EQ(ends.size(), 3u);
    EXPECT_EQ(ends.at("/refused.txt").state, State::notDone);
    EXPECT_EQ(ends.at("/refused.txt").reason, "The file is locked on the server.");
    EXPECT_EQ(ends.at("/a.txt").state, State::done);
    EXPECT_EQ(ends.at("/a.txt").reason, "");
    EXPECT_NE(ends.at("/theirs.txt").state, State::waiting);
    EXPECT_NE(ends.at("/theirs.txt").state, State::underWay);
}

TEST_F(RunItems, ALoginThatFailsIsLoggedWithItsReason)
{
    auto conf = store.get("work", false);
    conf->setSyncLogPath(state.path("logs"));
    conf->setServerURL("http://127.0.0.1:1/sync");
    BXSyncTask task;
    task.name = "work";
    task.conf = conf;
    SyncTaskRun running(task, runs);
    EXPECT_FALSE(running.login([](BXSyncConf&, LoginReason) { return false; }));
    BXLogger::flushAll();
    const auto logs = fs::listFolder(state.path("logs"));
    ASSERT_TRUE(logs && logs->size() == 1);
    EXPECT_THAT(state.content("logs/" + logs->front().name), ::testing::ContainsRegex("The login failed\\. .*[a-z]"));
}

} // namespace
} // namespace tidemark::test
