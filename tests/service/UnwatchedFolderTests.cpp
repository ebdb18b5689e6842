// Folders that cannot be watched, that are gone, or that another program is at work on.

#include <gmock/gmock.h>

#include "SyncLibrary/BXSyncAutoSyncManager.h"
#include "SyncLibrary/BXSyncRunLock.h"
#include "tests/service/MenuWorld.h"

namespace tidemark::test {
namespace {

using ::testing::IsEmpty;
using ::testing::SizeIs;

class UnwatchedFolder : public MenuWorld
{
protected:
    UnwatchedFolder()
    {
        local.make({{"a.txt", file("a", at(0))}, {"d/b.txt", file("b", at(0))}});
        run();
        EXPECT_TRUE(inStep());
    }
    bool inStep() const { return local.read() == readTree(world.remote.path("sync")); }
};

TEST_F(UnwatchedFolder, AnEmptyOneInItsPlaceDeletesNothingAndIsWatchedWithinAMinute)
{
    const auto before = readTree(world.remote.path("sync"));
    TempTree elsewhere;
    std::filesystem::rename(local.root(), elsewhere.path("moved"));
    DirectoryWatchService::shared().drain();
    ASSERT_TRUE(watcher->watchFailure());
    world.server->clearRequests();
    run();
    run(std::chrono::minutes(1));
    EXPECT_THAT(frontEnd.unwatched, SizeIs(1)) << "said once";
    EXPECT_TRUE(world.server->requests().empty());

    local.makeFolder("");
    run(std::chrono::minutes(1));
    EXPECT_FALSE(watcher->watchFailure());
    local.write("new.txt", "n");
    run();
    EXPECT_EQ(world.remote.content("sync/new.txt"), "n");
    auto expected = before;
    expected.merge(Tree{{"new.txt", file("n")}});
    EXPECT_EQ(readTree(world.remote.path("sync")), expected);
}

TEST_F(UnwatchedFolder, ChangesWaitWhileAnotherProgramRunsTheConfiguration)
{
    local.write("a.txt", "2", at(100));
    const auto ended = frontEnd.ended;
    {
        const auto other = BXSyncRunLock::tryAcquire(store.syncInfoPath("work"));
        ASSERT_TRUE(other && *other);
        run();
        run();
        EXPECT_EQ(frontEnd.ended, ended) << "no run that would only be refused";
    }
    run();
    EXPECT_EQ(frontEnd.ended, ended + 1);
    EXPECT_TRUE(inStep());
}

TEST(LimitedWatch, WhatNobodyWatchedIsFoundAllTheSame)
{
    SyncWorld world(devserver::Mode::Product);
    auto& client = world.client;
    client.local.make({{"a.txt", file("a", at(0))}, {"d/b.txt", file("b", at(0))}, {"d/gone.txt", file("g", at(0))}});
    ASSERT_EQ(client.sync(), BXSyncRunOutcome::finished);
    const auto runAutomatically = [&](const std::shared_ptr<BXSyncFileWatcher>& watcher) {
        const BXSyncManager::Surroundings surroundings{watcher, [] { return BXSyncReconnectRule{false, 0, 0}; }};
        BXSyncAutoSyncManager manager(client.conf, false, surroundings);
        manager.startSync()->join();
        return client.local.read() == readTree(world.remote.path("sync"));
    };

    // Two folders are watched, of three at most; the two of the client are too many.
    const TempTree hog({{"x", folder()}});
    DirectoryWatchService service(3);
    auto greedy = std::make_unique<BXSyncFileWatcher>(hog.root(), service);
    greedy->setOn(true);
    const auto watcher = std::make_shared<BXSyncFileWatcher>(client.local.root(), service);
    watcher->setOn(true);
    ASSERT_TRUE(watcher->watchFailure());
    client.local.write("d/b.txt", "unseen", at(100));
    client.local.remove("d/gone.txt");
    EXPECT_TRUE(runAutomatically(watcher));

    watcher->watchAgain();
    EXPECT_TRUE(watcher->watchFailure()) << "the limit is as low as before";
    EXPECT_THAT(watcher->modifiedList(false), IsEmpty());
    client.local.write("a.txt", "unseen too", at(100));
    greedy.reset();
    watcher->watchAgain();
    EXPECT_FALSE(watcher->watchFailure());
    EXPECT_TRUE(runAutomatically(watcher));
    client.local.write("a.txt", "seen", at(200));
    service.drain();
    EXPECT_THAT(watcher->modifiedList(false), SizeIs(1));
    EXPECT_TRUE(runAutomatically(watcher));
}

} // namespace
} // namespace tidemark::test
