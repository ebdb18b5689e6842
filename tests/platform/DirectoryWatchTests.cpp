#include "platform/DirectoryWatch.h"

#include <condition_variable>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/TempTree.h"

namespace tidemark {
namespace {

using test::file;
using test::folder;
using test::TempTree;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::UnorderedElementsAre;

bool isHidden(std::string_view name)
{
    return name.starts_with('.');
}

/// Collects reports; can hold the reporting thread up inside one.
class Recorder : public DirectoryWatch::Client
{
public:
    explicit Recorder(std::string root) : root_(std::move(root)) {}

    void watchedPathDidChange(const std::string& path) override
    {
        std::unique_lock lock(mutex_);
        paths_.insert(path.substr(root_.size()));
        blocked_ = true;
        changed_.notify_all();
        changed_.wait(lock, [this] { return !holdUp_; });
    }

    void watchDidFail(const DirectoryWatchFailure& failure) override
    {
        const std::lock_guard lock(mutex_);
        failures_.push_back(failure);
    }

    void holdUp()
    {
        const std::lock_guard lock(mutex_);
        holdUp_ = true;
        blocked_ = false;
    }
    void waitUntilHeldUp()
    {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return blocked_; });
    }
    void letGo()
    {
        const std::lock_guard lock(mutex_);
        holdUp_ = false;
        changed_.notify_all();
    }

    /// Takes what was reported so far.
    std::set<std::string> take()
    {
        const std::lock_guard lock(mutex_);
        return std::exchange(paths_, {});
    }

    std::vector<DirectoryWatchFailure> failures()
    {
        const std::lock_guard lock(mutex_);
        return failures_;
    }

private:
    const std::string root_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::set<std::string> paths_;
    std::vector<DirectoryWatchFailure> failures_;
    bool holdUp_ = false;
    bool blocked_ = false;
};

class DirectoryWatchTest : public testing::Test
{
protected:
    std::set<std::string> reported()
    {
        service.drain();
        return recorder.take();
    }

    TempTree tree{{{"docs/sub/a.txt", file("a")}, {"b.txt", file("b")}}};
    TempTree outside;
    DirectoryWatchService service;
    Recorder recorder{tree.root()};
    DirectoryWatch watch{service, tree.root(), recorder, isHidden};
};

TEST_F(DirectoryWatchTest, ReportsFilesAtAnyDepth)
{
    EXPECT_EQ(service.watchCount(), 3U);
    tree.write("docs/sub/new.txt", "1");
    EXPECT_THAT(reported(), ElementsAre("/docs/sub/new.txt"));
    tree.write("docs/sub/a.txt", "changed");
    EXPECT_THAT(reported(), ElementsAre("/docs/sub/a.txt"));
    tree.touch("b.txt", 1000);
    EXPECT_THAT(reported(), ElementsAre("/b.txt"));
    tree.move("b.txt", "docs/c.txt");
    EXPECT_THAT(reported(), ElementsAre("/b.txt", "/docs/c.txt"));
    tree.remove("docs/sub/a.txt");
    EXPECT_THAT(reported(), ElementsAre("/docs/sub/a.txt"));
    EXPECT_THAT(reported(), IsEmpty());
}

TEST_F(DirectoryWatchTest, SavingBesideAndRenamingReportsTheTarget)
{
    tree.write(".b.txt.swp", "new content");
    tree.move(".b.txt.swp", "b.txt");
    EXPECT_THAT(reported(), ElementsAre("/b.txt"));
}

TEST_F(DirectoryWatchTest, WatchesFoldersThatAppearWithAllTheyHold)
{
    tree.makeFolder("x/y/z");
    EXPECT_THAT(reported(), Contains("/x"));
    tree.write("x/y/z/deep.txt", "1");
    EXPECT_THAT(reported(), ElementsAre("/x/y/z/deep.txt"));

    outside.write("in/one/two.txt", "1");
    std::filesystem::rename(outside.path("in"), tree.path("in"));
    EXPECT_THAT(reported(), ElementsAre("/in"));
    tree.write("in/one/two.txt", "2");
    EXPECT_THAT(reported(), ElementsAre("/in/one/two.txt"));
}

TEST_F(DirectoryWatchTest, FollowsFoldersThatMoveWithinAndDropsThoseThatLeave)
{
    tree.move("docs", "papers");
    EXPECT_THAT(reported(), ElementsAre("/docs", "/papers"));
    tree.write("papers/sub/a.txt", "2");
    EXPECT_THAT(reported(), ElementsAre("/papers/sub/a.txt"));

    std::filesystem::rename(tree.path("papers"), outside.path("papers"));
    EXPECT_THAT(reported(), ElementsAre("/papers"));
    EXPECT_EQ(service.watchCount(), 1U);
    outside.write("papers/sub/a.txt", "3");
    EXPECT_THAT(reported(), IsEmpty());
}

TEST_F(DirectoryWatchTest, FolderReplacedUnderOneNameIsWatchedAnew)
{
    tree.remove("docs");
    tree.makeFolder("docs/sub");
    tree.remove("docs");
    tree.makeFolder("docs/other");
    EXPECT_THAT(reported(), Contains("/docs"));
    EXPECT_EQ(service.watchCount(), 3U);
    tree.write("docs/other/n.txt", "1");
    EXPECT_THAT(reported(), ElementsAre("/docs/other/n.txt"));
}

TEST_F(DirectoryWatchTest, IgnoredNamesAndLinkedFoldersAreNeitherWatchedNorReported)
{
    outside.makeFolder("linked");
    tree.link(outside.path("linked"), "link");
    EXPECT_THAT(reported(), ElementsAre("/link"));
    tree.write(".git/objects/x", "1");
    tree.write("docs/.DS_Store", "1");
    outside.write("linked/x", "1");
    EXPECT_THAT(reported(), IsEmpty());
    EXPECT_EQ(service.watchCount(), 3U);
    tree.move(".git", "git");
    EXPECT_THAT(reported(), ElementsAre("/git"));
    tree.write("git/objects/x", "2");
    EXPECT_THAT(reported(), ElementsAre("/git/objects/x"));
}

TEST_F(DirectoryWatchTest, OwnTimeAndModeOfAFolderAreNoChange)
{
    tree.touch("docs", 1000);
    std::filesystem::permissions(tree.path("docs"), std::filesystem::perms::owner_all);
    EXPECT_THAT(reported(), IsEmpty());
}

TEST_F(DirectoryWatchTest, SwitchSettlesEarlierChangesByTheStateBeforeIt)
{
    tree.write("before.txt", "1");
    watch.setReporting(false);
    EXPECT_THAT(recorder.take(), ElementsAre("/before.txt"));
    tree.write("during/d.txt", "1");
    watch.setReporting(true);
    EXPECT_THAT(reported(), IsEmpty());
    tree.write("during/d.txt", "2");
    EXPECT_THAT(reported(), ElementsAre("/during/d.txt"));
}

TEST_F(DirectoryWatchTest, OneFolderInTwoTreesIsReportedToBoth)
{
    Recorder inner(tree.path("docs"));
    auto second = std::make_unique<DirectoryWatch>(service, tree.path("docs"), inner, isHidden);
    EXPECT_EQ(service.watchCount(), 3U);
    tree.write("docs/sub/a.txt", "2");
    EXPECT_THAT(reported(), ElementsAre("/docs/sub/a.txt"));
    EXPECT_THAT(inner.take(), ElementsAre("/sub/a.txt"));
    second.reset();
    tree.write("docs/sub/a.txt", "3");
    EXPECT_THAT(reported(), ElementsAre("/docs/sub/a.txt"));
    EXPECT_THAT(inner.take(), IsEmpty());
}

TEST_F(DirectoryWatchTest, GoneRootIsAFailureToldOnce)
{
    std::filesystem::rename(tree.path("docs/sub"), outside.path("sub"));
    reported();
    EXPECT_THAT(recorder.failures(), IsEmpty());
    tree.remove("");
    reported();
    ASSERT_EQ(recorder.failures().size(), 1U);
    EXPECT_EQ(recorder.failures()[0].kind, DirectoryWatchFailure::Kind::rootGone);
    EXPECT_EQ(service.watchCount(), 0U);

    Recorder missing(tree.root());
    const DirectoryWatch none(service, tree.root(), missing);
    ASSERT_EQ(missing.failures().size(), 1U);
    EXPECT_EQ(missing.failures()[0].kind, DirectoryWatchFailure::Kind::rootGone);
}

TEST(DirectoryWatchLimitTest, TellsTheNumberNeededOnceAndKeepsOtherTreesWatched)
{
    TempTree first({{"a/b", folder()}});
    TempTree second({{"c", folder()}});
    DirectoryWatchService service(5);
    Recorder firstRecorder(first.root());
    Recorder secondRecorder(second.root());
    const DirectoryWatch firstWatch(service, first.root(), firstRecorder);
    const DirectoryWatch secondWatch(service, second.root(), secondRecorder);
    EXPECT_EQ(service.watchCount(), 5U);
    const TempTree outside({{"d/e/f", folder()}});
    std::filesystem::rename(outside.path("d"), second.path("c/d"));
    service.drain();
    second.makeFolder("c/d/g");
    service.drain();
    ASSERT_EQ(secondRecorder.failures().size(), 1U);
    EXPECT_EQ(secondRecorder.failures()[0].kind, DirectoryWatchFailure::Kind::limitReached);
    EXPECT_EQ(secondRecorder.failures()[0].neededWatches, 8U);
    EXPECT_THAT(secondRecorder.failures()[0].text, testing::HasSubstr("max_user_watches"));
    EXPECT_EQ(service.watchCount(), 3U);
    first.write("a/b/x", "1");
    service.drain();
    EXPECT_THAT(firstRecorder.take(), ElementsAre("/a/b/x"));
}

TEST_F(DirectoryWatchTest, OverflowOfTheQueueMarksEveryTopLevelEntry)
{
    std::ifstream setting("/proc/sys/fs/inotify/max_queued_events");
    int queueLength = 0;
    ASSERT_TRUE(setting >> queueLength);
    if (queueLength > 100'000) GTEST_SKIP() << "the queue of this system is too long to fill";

    recorder.holdUp();
    tree.write("held.txt", "1");
    recorder.waitUntilHeldUp();
    for (int i = 0; i < queueLength * 2 / 3; ++i)
        tree.write("docs/burst" + std::to_string(i % 200), "1");
    // Lost: neither of these has a place in the queue.
    tree.remove("b.txt");
    tree.write("fresh/sub/f.txt", "1");
    recorder.letGo();
    EXPECT_THAT(reported(), testing::IsSupersetOf({"/held.txt", "/docs", "/b.txt", "/fresh"}));
    tree.write("fresh/sub/f.txt", "2");
    EXPECT_THAT(reported(), ElementsAre("/fresh/sub/f.txt"));
}

TEST(DirectoryWatchServiceTest, WatchMayOutliveItsService)
{
    TempTree tree;
    Recorder recorder(tree.root());
    auto service = std::make_unique<DirectoryWatchService>();
    const DirectoryWatch watch(*service, tree.root(), recorder);
    service.reset();
    tree.write("x", "1");
    EXPECT_THAT(recorder.take(), IsEmpty());
}

} // namespace
} // namespace tidemark
