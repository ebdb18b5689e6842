#include "SyncLibrary/BXSyncInspectFile.h"

#include <filesystem>
#include <fstream>
#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include "SyncInfoFixture.h"
#include "SyncLibrary/BXSyncUtils.h"
#include "support/LogCapture.h"
#include "support/TempTree.h"

namespace tidemark {
namespace {

using test::file;
using test::folder;
using test::namesOf;
using test::statesOf;
using test::StoredTimes;
using test::SyncInfoFile;
using test::TempTree;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr double stored = 1'600'000'000;
constexpr std::int64_t newFolder = 0x100003;
constexpr std::int64_t knownFolder = 0x100000;
using States = std::map<std::string, std::int64_t>;

/// Loads and classifies `tree` against `times`.
struct Listup
{
    Listup(const TempTree& tree, const StoredTimes& times)
    {
        const SyncInfoFile info(times);
        EXPECT_TRUE(inspector.readSyncInfo(info.path()).value_or(false));
        count = inspector.checkSyncInfo(tree.root());
    }
    BXSyncInspectFile inspector;
    std::int64_t count = 0;
};

TEST(BXSyncInspectFileTest, WithoutSyncInfoEverythingIsNewFilesBeforeFolders)
{
    TempTree tree(
        {{"b.txt", file("bb", stored)}, {"a/z.txt", file("z", stored)}, {"a/c/d.txt", file("")}, {"c.txt", file("c")}});
    BXSyncInspectFile inspector;
    EXPECT_EQ(inspector.readSyncInfo(tree.path("none.psi")), false);
    EXPECT_EQ(inspector.checkSyncInfo(tree.root()), 6);
    EXPECT_THAT(namesOf(inspector.modifiedItems()),
                ElementsAre("/b.txt", "/c.txt", "/a", "/a/z.txt", "/a/c", "/a/c/d.txt"));
    EXPECT_EQ(
        statesOf(inspector),
        (States{
            {"/b.txt", 3}, {"/c.txt", 3}, {"/a", newFolder}, {"/a/z.txt", 3}, {"/a/c", newFolder}, {"/a/c/d.txt", 3}}));
    const auto* nested = inspector.getFileUpdate("/a/z.txt");
    EXPECT_EQ(nested->filePath.str(), tree.path("a"));
    EXPECT_EQ(nested->size, 1);
    EXPECT_EQ(nested->fileData.dateLastModified, stored);
    EXPECT_EQ(inspector.getFileUpdate("/a")->size, -1);
}

TEST(BXSyncInspectFileTest, FileTimesCountBeyondThreeSeconds)
{
    TempTree tree({{"same", file("1", stored)},
                   {"later3", file("1", stored + 3)},
                   {"later", file("1", stored + 4)},
                   {"earlier3", file("1", stored - 3)},
                   {"earlier", file("1", stored - 4)},
                   {"fraction", file("1", stored + 3.001)}});
    Listup listup(tree, {{"/same", stored},
                         {"/later3", stored},
                         {"/later", stored},
                         {"/earlier3", stored},
                         {"/earlier", stored},
                         {"/fraction", stored}});
    EXPECT_EQ(listup.count, 3);
    EXPECT_EQ(
        statesOf(listup.inspector),
        (States{{"/same", 0}, {"/later3", 0}, {"/later", 1}, {"/earlier3", 0}, {"/earlier", 2}, {"/fraction", 1}}));
    const auto* later = listup.inspector.getFileUpdate("/later");
    EXPECT_EQ(later->fileData.dateLastModified, stored + 4);
    EXPECT_EQ(later->oldDateLastModified, stored);
    EXPECT_EQ(listup.inspector.getFileUpdate("/later3")->fileData.dateLastModified, stored);
}

TEST(BXSyncInspectFileTest, VanishedHiddenAndKindChangedPaths)
{
    TempTree tree({{".hidden", file("1")}, {".dir/x", file("1")}, {"was-file", folder()}, {"known", folder()}});
    Listup listup(
        tree,
        {{"/gone", stored}, {"/gone/in", stored}, {"/.hidden", stored}, {"/was-file", stored}, {"/known", stored}});
    EXPECT_EQ(listup.count, 3);
    EXPECT_EQ(
        statesOf(listup.inspector),
        (States{{"/gone", 4}, {"/gone/in", 4}, {"/.hidden", 4}, {"/was-file", knownFolder}, {"/known", knownFolder}}));
    EXPECT_EQ(listup.inspector.getFileUpdate("/gone")->fileData.dateLastModified, 0);
    EXPECT_THAT(namesOf(listup.inspector.modifiedItems()), ElementsAre("/.hidden", "/gone", "/gone/in"));
}

TEST(BXSyncInspectFileTest, SuspendedFilesAreNeverFlaggedButANewOneCounts)
{
    TempTree tree({{"new", file("1")}, {"known", file("1", stored + 100)}});
    ASSERT_TRUE(BXSyncUtils::addSuspendFlag(tree.path("new")));
    ASSERT_TRUE(BXSyncUtils::addSuspendFlag(tree.path("known")));
    Listup listup(tree, {{"/known", stored}});
    EXPECT_EQ(listup.count, 1);
    EXPECT_EQ(statesOf(listup.inspector), (States{{"/new", 5}, {"/known", 5}}));
    EXPECT_THAT(listup.inspector.modifiedItems(), IsEmpty());
}

TEST(BXSyncInspectFileTest, DecomposedNamesAreRecordedComposed)
{
    const test::LogCapture log;
    const std::string composed = "caf\u00e9";
    const std::string decomposed = "cafe\u0301";
    TempTree tree({{decomposed + "/" + decomposed, file("1", stored)},
                   {"both-" + decomposed, file("22", stored)},
                   {"both-" + composed, file("1", stored)}});
    Listup listup(tree, {{"/" + composed + "/" + composed, stored}});
    EXPECT_EQ(statesOf(listup.inspector),
              (States{{"/" + composed, newFolder}, {"/" + composed + "/" + composed, 0}, {"/both-" + composed, 3}}));
    EXPECT_EQ(listup.inspector.getFileUpdate("/both-" + composed)->size, 1);
    EXPECT_EQ(log.count(LogLevel::warning, "both-" + decomposed), 1);
}

TEST(BXSyncInspectFileTest, LinksAndSpecialFiles)
{
    const test::LogCapture log;
    TempTree outside({{"target.txt", file("12345", stored)}, {"folder/x", file("1")}});
    TempTree tree;
    tree.link(outside.path("target.txt"), "file-link");
    tree.link(outside.path("folder"), "folder-link");
    tree.link(tree.root(), "loop");
    tree.link(tree.path("nothing"), "dangling");
    ASSERT_EQ(::mkfifo(tree.path("pipe").c_str(), 0600), 0);
    std::ofstream(tree.root() + "/bad\xff name") << "1";
    Listup listup(tree, {});
    EXPECT_EQ(statesOf(listup.inspector), (States{{"/file-link", 3}}));
    EXPECT_EQ(listup.inspector.getFileUpdate("/file-link")->size, 5);
    EXPECT_EQ(listup.inspector.getFileUpdate("/file-link")->fileData.dateLastModified, stored);
    for (const auto* skipped : {"folder-link", "loop", "pipe", "bad"})
        EXPECT_EQ(log.count(LogLevel::warning, skipped), 1) << skipped;
}

TEST(BXSyncInspectFileTest, UnreadableFolderFailsTheScanAndIsNamed)
{
    const test::LogCapture log;
    TempTree tree({{"a/x", file("1")}});
    BXSyncInspectFile inspector;
    EXPECT_EQ(inspector.checkSyncInfo(tree.path("missing")), -1);
    EXPECT_EQ(log.count(LogLevel::error, tree.path("missing")), 1);
    if (::geteuid() == 0) return; // root reads every folder
    std::filesystem::permissions(tree.path("a"), std::filesystem::perms::none);
    EXPECT_EQ(inspector.checkSyncInfo(tree.root()), -1);
    EXPECT_EQ(log.count(LogLevel::error, tree.path("a")), 1);
    std::filesystem::permissions(tree.path("a"), std::filesystem::perms::owner_all);
}

TEST(BXSyncInspectFileTest, ExceptionInASubfolderEndsTheScanUnlessErrorsAreSkipped)
{
    struct Throwing : BXSyncInspectFile
    {
        using BXSyncInspectFile::BXSyncInspectFile;
        std::int64_t searchFile(const std::string&, const std::string&) override { throw std::runtime_error("boom"); }
    };
    const test::LogCapture log;
    TempTree tree({{"sub", folder()}});
    const BXSyncFileItem item(tree.path("sub"), tree.root());
    Throwing strict(false, nullptr);
    EXPECT_THROW(strict.checkDirItem(item, tree.root(), true), std::runtime_error);
    Throwing lenient(true, nullptr);
    EXPECT_EQ(lenient.checkDirItem(item, tree.root(), true), 1);
    EXPECT_EQ(lenient.checkDirItem(item, tree.root(), true), 0);
    EXPECT_EQ(log.count(LogLevel::error, "boom"), 2);
}

TEST(BXSyncInspectFileTest, SavesAllButRecordsWithTheDeletedBit)
{
    TempTree tree({{"kept", file("1", stored)},
                   {"changed", file("1", stored + 10)},
                   {"dir/new", file("1", stored)},
                   {"half", file("1", stored)}});
    tree.touch("dir", stored);
    ASSERT_TRUE(BXSyncUtils::addSuspendFlag(tree.path("half")));
    Listup listup(tree, {{"/kept", stored}, {"/changed", stored}, {"/gone", stored}});
    const SyncInfoFile target;
    ASSERT_TRUE(listup.inspector.writeSyncInfo(target.path()));
    EXPECT_EQ(target.read(),
              (StoredTimes{{"/kept", stored}, {"/changed", stored + 10}, {"/dir", stored}, {"/dir/new", stored}}));
    TempTree fresh;
    EXPECT_TRUE(listup.inspector.writeSyncInfo(fresh.path("made/on/the/way.psi")));
    fresh.write("file", "");
    EXPECT_FALSE(listup.inspector.writeSyncInfo(fresh.path("file/x.psi")));
}

TEST(BXSyncInspectFileTest, UnreadableSyncInfoIsAnErrorAndNotAMissingFile)
{
    SyncInfoFile info(StoredTimes{{"/a", 1}, {"/b", 2}});
    auto bytes = info.folder().content("state/work.psi");
    BXSyncInspectFile inspector;
    info.folder().write("state/work.psi", bytes.substr(0, bytes.size() - 9));
    auto read = inspector.readSyncInfo(info.path());
    ASSERT_FALSE(read);
    EXPECT_THAT(read.error().description(), testing::HasSubstr(info.path()));
    EXPECT_THAT(inspector.fileUpdate(), IsEmpty());

    for (const auto* name : {"a", "", "/", "/..", "/a/../b", "/a//b", "/./a"})
        EXPECT_FALSE(inspector.readSyncInfo(SyncInfoFile(StoredTimes{{"/a", 1}, {name, 2}}).path())) << name;
    EXPECT_THAT(inspector.fileUpdate(), IsEmpty());
}

TEST(BXSyncInspectFileTest, RecordMaintenance)
{
    BXSyncInspectFile inspector;
    BXSyncFileDataInfo record;
    record.fileData = {"/a", 5};
    EXPECT_FALSE(inspector.updateSyncInfo(record));
    EXPECT_TRUE(inspector.appendFileUpdate(record));
    EXPECT_FALSE(inspector.appendFileUpdate(record));
    record.fileData.dateLastModified = 9;
    record.state = 0x10003;
    record.size = 77;
    EXPECT_TRUE(inspector.updateSyncInfo(record));
    EXPECT_EQ(inspector.getFileUpdate("/a")->fileData.dateLastModified, 9);
    EXPECT_EQ(inspector.getFileUpdate("/a")->state, 0x10003);
    EXPECT_EQ(inspector.getFileUpdate("/a")->size, 0);
    EXPECT_EQ(inspector.getFileUpdate("/none"), nullptr);
}

struct CompareCase
{
    const char* name;
    std::int64_t mine;
    bool update;
    std::int64_t mySize;
    std::int64_t theirs;
    std::int64_t expectedState;
    bool expectedUpdate;
    double expectedOld;
};

class CompareTest : public testing::TestWithParam<CompareCase>
{
};

TEST_P(CompareTest, MarksConflictsAndCarriesTimes)
{
    const auto& row = GetParam();
    BXSyncFileDataInfo mine;
    mine.fileData = {"/p", 100};
    mine.state = row.mine;
    mine.update = row.update;
    mine.size = row.mySize;
    mine.oldDateLastModified = 50;
    mine.filePath = "/mine";
    BXSyncFileDataInfo theirs;
    theirs.fileData = {"/p", 200};
    theirs.state = row.theirs;
    theirs.size = 10;
    theirs.filePath = "/theirs";
    BXSyncInspectFile local;
    BXSyncInspectFile server;
    local.appendFileUpdate(mine);
    server.appendFileUpdate(theirs);
    EXPECT_EQ(local.compareSyncInfo(server), 0);
    const auto* result = local.getFileUpdate("/p");
    EXPECT_EQ(result->state, row.expectedState);
    EXPECT_EQ(result->update, row.expectedUpdate);
    EXPECT_EQ(result->oldDateLastModified, row.expectedOld);
    EXPECT_EQ(result->filePath.str(), row.expectedState == 4 || row.expectedState == 0x30004 ? "/theirs" : "/mine");
}

INSTANTIATE_TEST_SUITE_P(
    Rows, CompareTest,
    testing::Values(CompareCase{"unchangedBoth", 0, false, 20, 0, 0, false, 50},
                    CompareCase{"resumesLongerFile", 0, false, 20, 5, 1, true, 50},
                    CompareCase{"noResumeOfEqualSize", 0, false, 10, 5, 0, false, 50},
                    CompareCase{"changedHereOnly", 1, true, 20, 0, 1, true, 200},
                    CompareCase{"changedHereSuspendedThere", 2, true, 20, 5, 2, true, 200},
                    CompareCase{"changedBoth", 2, true, 20, 1, 0x30002, true, 200},
                    CompareCase{"newBoth", 3, true, 20, 3, 0x30003, true, 200},
                    CompareCase{"deletedHereOnly", 4, true, 0, 0, 4, true, 200},
                    CompareCase{"deletedBoth", 4, true, 0, 4, 0x30004, true, 200},
                    CompareCase{"deletedHereFolderThere", 4, true, 0, 0x100000, 4, true, 200},
                    CompareCase{"conflictMarkedByTheOtherSideFirst", 1, true, 20, 0x30001, 0x30001, true, 200},
                    CompareCase{"suspendedHere", 5, false, 20, 1, 5, false, 50},
                    CompareCase{"newFolderBoth", 0x100003, true, -1, 0x100003, 0x100003, true, 50}),
    [](const auto& row) { return std::string(row.param.name); });

BXSyncFileDataInfo deletion(const std::string& name, std::int64_t state = 4)
{
    BXSyncFileDataInfo record;
    record.fileData = {name, 0};
    record.update = true;
    record.state = state;
    return record;
}

TEST(BXSyncInspectFileTest, DeletionsOfFoldersWithChangesOnTheOtherSideAreWithdrawn)
{
    BXSyncInspectFile local;
    for (const auto* name : {"/d", "/d/sub", "/d/gone.txt", "/d-other", "/empty"})
        local.appendFileUpdate(deletion(name));
    local.appendFileUpdate(deletion("/both", 0x30004));
    BXSyncInspectFile server;
    for (const auto* name : {"/d/sub/changed.txt", "/d-other2", "/both/x", "/empty"})
        server.appendFileUpdate(deletion(name, 3));
    local.undoDeleteFolderOnOtherFileUpdated(server.modifiedItems());
    EXPECT_THAT(namesOf(local.modifiedItems()), ElementsAre("/d/gone.txt", "/d-other", "/empty", "/both"));
    EXPECT_EQ(local.getFileUpdate("/d")->state, 4);
}

RC_GTEST_PROP(BXSyncInspectFileProperty, WithdrawalAgreesWithLookingAtEveryPair, ())
{
    const auto name = rc::gen::map(rc::gen::nonEmpty(rc::gen::container<std::vector<std::string>>(
                                       rc::gen::element<std::string>("/a", "/b", "/a-", "/a!"))),
                                   [](const std::vector<std::string>& parts) {
                                       std::string joined;
                                       for (const auto& part : parts)
                                           joined += part;
                                       return joined;
                                   });
    const auto mine = *rc::gen::container<std::vector<std::string>>(name);
    const auto theirs = *rc::gen::container<std::vector<std::string>>(name);
    BXSyncInspectFile local;
    BXSyncInspectFile server;
    for (const auto& one : mine)
        local.appendFileUpdate(deletion(one));
    for (const auto& one : theirs)
        server.appendFileUpdate(deletion(one, 3));
    local.undoDeleteFolderOnOtherFileUpdated(server.modifiedItems());
    for (const auto& record : local.fileUpdate()) {
        const auto prefix = record.fileData.fileName + "/";
        const bool below = std::any_of(theirs.begin(), theirs.end(),
                                       [&](const std::string& other) { return other.starts_with(prefix); });
        RC_ASSERT(record.update == !below);
    }
}

TEST(BXSyncInspectFileTest, IndexFindsEveryNameOfALongList)
{
    BXSyncInspectFile inspector;
    for (int i = 0; i < 20'000; ++i)
        ASSERT_TRUE(inspector.appendFileUpdate(deletion("/n" + std::to_string(i))));
    const auto* first = inspector.getFileUpdate("/n0");
    for (int i = 0; i < 20'000; ++i)
        ASSERT_EQ(inspector.getFileUpdate("/n" + std::to_string(i)), &inspector.fileUpdate()[static_cast<size_t>(i)]);
    EXPECT_EQ(first, &inspector.fileUpdate().front());
    EXPECT_EQ(inspector.getFileUpdate("/n20000"), nullptr);
}

} // namespace
} // namespace tidemark
