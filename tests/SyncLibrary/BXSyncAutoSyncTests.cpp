// Runs over what a watcher has noted.

#include <gtest/gtest.h>

#include "SyncLibrary/BXSyncAutoSyncManager.h"
#include "SyncLibrary/BXSyncFileWatcher.h"
#include "platform/FileSystem.h"
#include "tests/support/SyncWorld.h"

namespace tidemark::test {
namespace {

using devserver::Mode;
using Outcome = BXSyncRunOutcome;

class AutoSync : public ::testing::Test
{
protected:
    AutoSync()
    {
        client.local.make({{"d/a.txt", file("1", at(0))}, {"d/b.txt", file("1", at(0))}, {"c.txt", file("1", at(0))}});
        EXPECT_EQ(client.sync(), Outcome::finished);
        watcher = std::make_shared<BXSyncFileWatcher>(client.local.root());
        world.server->clearRequests();
    }

    void note(const std::string& path) { watcher->presentedSubitemDidChange(client.local.path(path)); }

    std::unique_ptr<BXSyncAutoSyncManager> makeManager()
    {
        return std::make_unique<BXSyncAutoSyncManager>(
            client.conf, true, BXSyncManager::Surroundings{watcher, [] {
                                                               return BXSyncReconnectRule{false, 0, 0};
                                                           }});
    }

    Outcome run(BXSyncAutoSyncManager& manager)
    {
        manager.startSync()->join();
        return manager.outcome();
    }

    SyncWorld world{Mode::Product};
    SyncClient& client = world.client;
    std::shared_ptr<BXSyncFileWatcher> watcher;
};

TEST_F(AutoSync, carriesOnlyWhatWasNoted)
{
    client.local.write("d/a.txt", "2", at(100));
    client.local.write("c.txt", "2", at(100));
    client.local.remove("d/b.txt");
    client.local.write("e/new.txt", "3", at(100));
    for (const auto* path : {"d/a.txt", "d/b.txt", "e"})
        note(path);
    auto manager = makeManager();
    EXPECT_EQ(run(*manager), Outcome::finished);
    EXPECT_TRUE(watcher->modifiedList(false).empty());
    const Tree expected{{"d/a.txt", file("2")}, {"c.txt", file("1")}, {"e/new.txt", file("3")}};
    EXPECT_EQ(readTree(world.remote.path("sync")), complete(expected));
    EXPECT_EQ(client.sync(), Outcome::finished);
    EXPECT_EQ(client.items().size(), 1U); // the one that was not noted
    world.expectSettled();
}

TEST_F(AutoSync, keepsTheServersSpellingOfNames)
{
    const std::string onServer = "sync/cafe\u0301/e\u0301te\u0301.txt", here = "caf\u00e9/\u00e9t\u00e9.txt";
    world.writeOnServer(onServer.substr(5), "1", at(0));
    EXPECT_EQ(client.sync(), Outcome::finished);
    EXPECT_EQ(client.local.content(here), "1");
    world.expectQuiet(client);

    client.local.write(here, "by a run", at(100));
    EXPECT_EQ(client.sync(), Outcome::finished);
    EXPECT_EQ(world.remote.content(onServer), "by a run");

    client.local.write(here, "by a note", at(200));
    client.local.write("caf\u00e9/n\u00e9w.txt", "1", at(200));
    note(here);
    note("caf\u00e9/n\u00e9w.txt");
    auto manager = makeManager();
    EXPECT_EQ(run(*manager), Outcome::finished);
    EXPECT_EQ(world.remote.content(onServer), "by a note");
    EXPECT_EQ(world.remote.content("sync/cafe\u0301/n\u00e9w.txt"), "1");
    EXPECT_FALSE(fs::exists(world.remote.path("sync/caf\u00e9")));
    world.expectQuiet(client);
}

TEST_F(AutoSync, aServerThatTakesNoSlashBehindAFileIsAskedWithoutIt)
{
    client.local.remove("c.txt");
    client.local.makeFolder("c.txt");
    client.local.write("d/a.txt", "2", at(100));
    for (const auto* path : {"c.txt", "d/a.txt"})
        note(path);
    world.server->addFault({"PROPFIND", "*/c.txt/", devserver::fault::Status{400, {}, {}}, 1, 0});
    auto manager = makeManager();
    EXPECT_EQ(run(*manager), Outcome::finished);
    EXPECT_EQ(world.server->faultsStruck(), 1U);
    EXPECT_EQ(world.remote.content("sync/d/a.txt"), "2");
}

TEST_F(AutoSync, asksTheServerNothingWithoutLocalChanges)
{
    auto manager = makeManager();
    EXPECT_EQ(run(*manager), Outcome::finished);
    EXPECT_TRUE(world.server->requests().empty());
}

TEST_F(AutoSync, listingAloneKeepsTheNotes)
{
    client.local.write("d/a.txt", "2", at(100));
    note("d/a.txt");
    auto manager = makeManager();
    manager->startListup(false)->join();
    EXPECT_EQ(manager->modifiedItems().size(), 1U);
    EXPECT_EQ(watcher->modifiedList(false).size(), 1U);
    EXPECT_EQ(world.remote.content("sync/d/a.txt"), "1");
}

TEST_F(AutoSync, aDownloadIsNoChangeOfTheUser)
{
    watcher->setOn(true);
    world.writeOnServer("d/a.txt", "server", at(200));
    client.watcher = watcher;
    EXPECT_EQ(client.sync(), Outcome::finished);
    EXPECT_EQ(client.local.content("d/a.txt"), "server");
    DirectoryWatchService::shared().drain();
    EXPECT_TRUE(watcher->modifiedList(false).empty());
    EXPECT_TRUE(watcher->on());
}

} // namespace
} // namespace tidemark::test
