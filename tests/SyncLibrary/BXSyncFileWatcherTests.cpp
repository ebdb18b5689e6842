#include "SyncLibrary/BXSyncFileWatcher.h"

#include <optional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "support/TempTree.h"

namespace tidemark {
namespace {

using test::file;
using test::folder;
using test::TempTree;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

std::vector<std::string> described(const std::vector<BXSyncModifiedItem>& items)
{
    std::vector<std::string> texts;
    for (auto item : items) {
        item.path = item.relativePath;
        texts.push_back(item.description());
    }
    return texts;
}

struct Note
{
    std::string path;
    std::int64_t type;
};

struct ListCase
{
    const char* name;
    std::vector<Note> notes;
    std::vector<std::string> expected;
};

class ChangedListTest : public testing::TestWithParam<ListCase>
{
};

TEST_P(ChangedListTest, KeepsTheTopmostChanges)
{
    BXSyncChangedList list;
    for (const auto& note : GetParam().notes)
        list.note("/w" + note.path, note.path, note.type);
    EXPECT_EQ(described(list.items()), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, ChangedListTest,
    testing::Values(
        ListCase{"inOrderOfFirstNote",
                 {{"/b", 1}, {"/a", 2}, {"/c", 1}, {"/b", 1}},
                 {"Update:/b", "Delete:/a", "Update:/c"}},
        ListCase{"createdThenDeleted", {{"/a", 1}, {"/a", 2}}, {"Delete:/a"}},
        ListCase{"deletedThenCreated", {{"/a", 2}, {"/a", 1}}, {"Update:/a"}},
        ListCase{"folderReplacesWhatIsInside",
                 {{"/a/b/c.txt", 1}, {"/x", 1}, {"/a/d", 2}, {"/a", 1}},
                 {"Update:/x", "Update:/a"}},
        ListCase{"folderAbsorbsWhatComesInside", {{"/a/b", 1}, {"/a/b/c.txt", 2}, {"/a/b/d/e", 1}}, {"Update:/a/b"}},
        ListCase{"absorbedChangeKeepsTheFoldersType", {{"/a", 2}, {"/a/b", 1}}, {"Delete:/a"}},
        ListCase{"likeNamesAreNotInside",
                 {{"/a", 1}, {"/a-b", 1}, {"/a.b/c", 1}, {"/ab", 1}},
                 {"Update:/a", "Update:/a-b", "Update:/a.b/c", "Update:/ab"}},
        ListCase{"likeNamesAreNotReplaced",
                 {{"/a-b", 1}, {"/a/c", 1}, {"/a0", 1}, {"/a", 1}},
                 {"Update:/a-b", "Update:/a0", "Update:/a"}}),
    [](const auto& row) { return std::string(row.param.name); });

/// The rules applied to a plain list, item by item from its end.
class PlainChangedList
{
public:
    void note(const std::string& path, std::int64_t type)
    {
        bool add = true;
        for (std::size_t i = items.size(); i-- > 0;) {
            if (path == items[i].path) {
                items[i].type = type;
                add = false;
            } else if (items[i].path.starts_with(path + "/")) {
                items.erase(items.begin() + static_cast<std::ptrdiff_t>(i));
            } else if (path.starts_with(items[i].path + "/")) {
                add = false;
            }
        }
        if (add) items.push_back({path, type});
    }
    std::vector<Note> items;
};

RC_GTEST_PROP(ChangedListProperty, AgreesWithAPlainListAndNeverHoldsAPathWithItsDescendant, ())
{
    BXSyncChangedList list;
    PlainChangedList plain;
    const auto length = *rc::gen::inRange(0, 40);
    for (int i = 0; i < length; ++i) {
        const auto parts = *rc::gen::nonEmpty(
            rc::gen::container<std::vector<std::string>>(rc::gen::element<std::string>("/a", "/b", "/a-", "/a b")));
        std::string path;
        for (const auto& part : parts)
            path += part;
        const auto type = *rc::gen::element<std::int64_t>(1, 2);
        list.note("/w" + path, path, type);
        plain.note("/w" + path, type);
    }
    const auto items = list.items();
    RC_ASSERT(items.size() == plain.items.size());
    for (std::size_t i = 0; i < items.size(); ++i) {
        RC_ASSERT(items[i].path == plain.items[i].path);
        RC_ASSERT(items[i].modifiedType == plain.items[i].type);
        for (const auto& other : items)
            RC_ASSERT(!other.path.starts_with(items[i].path + "/"));
    }
}

class BXSyncFileWatcherTest : public testing::Test
{
protected:
    std::vector<std::string> changes(bool clear = true)
    {
        service.drain();
        return described(watcher.modifiedList(clear));
    }

    TempTree tree{{{"docs/a.txt", file("a")}, {"b.txt", file("b")}}};
    DirectoryWatchService service;
    BXSyncFileWatcher watcher{tree.root(), service};
};

TEST_F(BXSyncFileWatcherTest, ListsRealChangesOnceSwitchedOn)
{
    tree.write("early", "1");
    EXPECT_FALSE(watcher.on());
    watcher.setOn(true);
    EXPECT_TRUE(watcher.on());
    EXPECT_THAT(changes(), IsEmpty());
    tree.write("docs/a.txt", "2");
    tree.remove("b.txt");
    tree.write("fleeting", "1");
    tree.remove("fleeting");
    tree.write("docs/.hidden", "1");
    tree.write("new/x/y", "1");
    EXPECT_THAT(changes(false),
                UnorderedElementsAre("Update:/docs/a.txt", "Delete:/b.txt", "Delete:/fleeting", "Update:/new"));
    EXPECT_EQ(changes(false).size(), 4U);
    EXPECT_EQ(changes(true).size(), 4U);
    EXPECT_THAT(changes(), IsEmpty());
    const auto root = tree.root();
    tree.move("docs", "papers");
    service.drain();
    const auto items = watcher.modifiedList(true);
    ASSERT_THAT(described(items), ElementsAre("Delete:/docs", "Update:/papers"));
    EXPECT_EQ(items[1].path, root + "/papers");
}

TEST_F(BXSyncFileWatcherTest, OffIsAGateThatDropsWhatHappensMeanwhile)
{
    watcher.setOn(true);
    tree.write("before", "1");
    watcher.setOn(false);
    tree.write("own/download", "1");
    watcher.setOn(true);
    EXPECT_THAT(changes(), ElementsAre("Update:/before"));
    tree.write("own/download", "2");
    EXPECT_THAT(changes(), ElementsAre("Update:/own/download"));
    EXPECT_EQ(service.watchCount(), 3U);
}

TEST_F(BXSyncFileWatcherTest, TargetPaths)
{
    const auto& root = tree.root();
    for (const auto* below : {"/a", "/a/b.c", "/a.b/c"})
        EXPECT_TRUE(watcher.isTargetPath(root + below)) << below;
    for (const auto* below : {"/.a", "/a/.b", "/.git/x", "x/a"})
        EXPECT_FALSE(watcher.isTargetPath(root + below)) << below;
    EXPECT_FALSE(watcher.isTargetPath("/elsewhere/a"));
    EXPECT_EQ(BXSyncFileWatcher("/w/", service).watchPath(), "/w//");
    watcher.presentedSubitemDidChange("/elsewhere/a");
    watcher.presentedSubitemDidChange(root + "/.git/x");
    EXPECT_THAT(changes(), IsEmpty());
}

TEST_F(BXSyncFileWatcherTest, NamesAreListedComposed)
{
    watcher.setOn(true);
    tree.write("cafe\u0301/menu", "1");
    EXPECT_THAT(changes(), ElementsAre("Update:/caf\u00e9"));
    tree.remove("cafe\u0301");
    EXPECT_THAT(changes(), ElementsAre("Delete:/caf\u00e9"));
}

TEST_F(BXSyncFileWatcherTest, FailureIsToldOnceAndAGoneFolderIsTriedAgain)
{
    int told = 0;
    watcher.setFailureHandler([&](const DirectoryWatchFailure&) { ++told; });
    watcher.setOn(true);
    EXPECT_FALSE(watcher.watchFailure());
    tree.remove("");
    service.drain();
    ASSERT_TRUE(watcher.watchFailure());
    EXPECT_EQ(watcher.watchFailure()->kind, DirectoryWatchFailure::Kind::rootGone);
    EXPECT_EQ(told, 1);
    tree.makeFolder("");
    watcher.setOn(false);
    watcher.modifiedList(true);
    watcher.setOn(true);
    EXPECT_FALSE(watcher.watchFailure());
    tree.write("again", "1");
    EXPECT_THAT(changes(), ElementsAre("Update:/again"));
    EXPECT_EQ(told, 1);
}

TEST(BXSyncFileWatcherLimitTest, ReachedLimitIsNotTriedAgain)
{
    TempTree tree({{"a/b/c", folder()}});
    DirectoryWatchService service(2);
    BXSyncFileWatcher watcher(tree.root(), service);
    int told = 0;
    watcher.setFailureHandler([&](const DirectoryWatchFailure&) { ++told; });
    watcher.setOn(true);
    watcher.setOn(false);
    watcher.setOn(true);
    EXPECT_EQ(told, 1);
    ASSERT_TRUE(watcher.watchFailure());
    EXPECT_EQ(watcher.watchFailure()->neededWatches, 4U);
}

} // namespace
} // namespace tidemark
