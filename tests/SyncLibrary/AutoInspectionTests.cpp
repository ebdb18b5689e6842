#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ScriptedServer.h"
#include "SyncInfoFixture.h"
#include "SyncLibrary/BXSyncInspectFileAuto.h"
#include "SyncLibrary/BXSyncWebDAVInspectFileAuto.h"
#include "support/LogCapture.h"

namespace tidemark {
namespace {

using test::file;
using test::folder;
using test::Scripted;
using test::ScriptedServer;
using test::statesOf;
using test::StoredTimes;
using test::TempTree;
using testing::ElementsAre;

constexpr double stored = 1'600'000'000;
constexpr std::int64_t knownFolder = 0x100000;
constexpr std::int64_t newFolder = 0x100003;
using States = std::map<std::string, std::int64_t>;

const StoredTimes everything{{"/kept", stored},  {"/out", stored},     {"/dir", stored},       {"/dir/a", stored},
                             {"/dir/b", stored}, {"/dir/sub", stored}, {"/dir/sub/c", stored}, {"/dir-2", stored}};
constexpr auto update = BXSyncModifiedItem::update;
constexpr auto deletion = BXSyncModifiedItem::deletion;

class AutoInspectionTest : public testing::Test
{
protected:
    std::vector<BXSyncModifiedItem> items(const std::map<std::string, std::int64_t>& types) const
    {
        std::vector<BXSyncModifiedItem> list;
        for (const auto& [relative, type] : types)
            list.push_back({local.root() + relative, relative, type});
        return list;
    }

    /// Count and states other than 0 of a local check.
    std::pair<std::int64_t, States> checkLocal(const std::map<std::string, std::int64_t>& types)
    {
        BXSyncInspectFileAuto inspector(nullptr, items(types));
        return check(inspector, local.root());
    }

    std::pair<std::int64_t, States> checkServer(const std::map<std::string, std::int64_t>& types)
    {
        Scripted<BXSyncWebDAVInspectFileAuto> inspector(server, BXSyncServerAccess{nullptr, "", runner, nullptr},
                                                        nullptr, items(types));
        server.requests.clear();
        return check(inspector, ScriptedServer::root);
    }

    std::pair<std::int64_t, States> check(BXSyncInspectFile& inspector, const std::string& root)
    {
        EXPECT_TRUE(inspector.readSyncInfo(info.path()).value_or(false));
        const auto count = inspector.checkSyncInfo(root);
        auto states = statesOf(inspector);
        std::erase_if(states, [](const auto& entry) { return entry.second == 0; });
        return {count, states};
    }

    const test::SyncInfoFile info{everything};
    TempTree local{{{"kept", file("1", stored + 99)},
                    {"dir/a", file("1", stored + 99)},
                    {"dir/sub/c", file("1", stored)},
                    {"dir/new/n", file("1")},
                    {"dir-2", folder()},
                    {"fresh", file("1", stored)}}};
    ScriptedServer server;
    test::NoRunner runner;
    const test::LogCapture log;
};

TEST_F(AutoInspectionTest, LocalLooksOnlyAtTheSnapshot)
{
    EXPECT_EQ(checkLocal({{"/fresh", update}}), std::pair(std::int64_t{1}, States{{"/fresh", 3}}));
    EXPECT_EQ(checkLocal({{"/kept", update}, {"/out", deletion}}),
              std::pair(std::int64_t{2}, States{{"/kept", 1}, {"/out", 4}}));
    EXPECT_EQ(checkLocal({{"/dir", update}}), std::pair(std::int64_t{4}, States{{"/dir", knownFolder},
                                                                                {"/dir/a", 1},
                                                                                {"/dir/b", 4},
                                                                                {"/dir/sub", knownFolder},
                                                                                {"/dir/new", newFolder},
                                                                                {"/dir/new/n", 3}}));
    EXPECT_EQ(checkLocal({}), std::pair(std::int64_t{0}, States{}));
}

TEST_F(AutoInspectionTest, LocalFolderThatIsGoneTakesAllBelowItAlong)
{
    local.remove("dir");
    const States gone{{"/dir", 4}, {"/dir/a", 4}, {"/dir/b", 4}, {"/dir/sub", 4}, {"/dir/sub/c", 4}};
    EXPECT_EQ(checkLocal({{"/dir", deletion}}), std::pair(std::int64_t{5}, gone));
    // Gone since the snapshot was taken.
    EXPECT_EQ(checkLocal({{"/dir", update}}), std::pair(std::int64_t{5}, gone));
}

TEST_F(AutoInspectionTest, MissingRootFailsInsteadOfDeletingEverything)
{
    local.remove("");
    EXPECT_EQ(checkLocal({{"/dir", deletion}}).first, -1);
    EXPECT_EQ(log.count(LogLevel::error, local.root()), 1);
}

TEST_F(AutoInspectionTest, LocalPathsThatAFullScanLeavesOutAreLeftOut)
{
    local.link(local.path("dir"), "folder-link");
    local.write("half", "1");
    ASSERT_TRUE(BXSyncUtils::addSuspendFlag(local.path("half")));
    local.write("cafe\u0301", "1");
    EXPECT_EQ(checkLocal({{"/folder-link", update}}), std::pair(std::int64_t{0}, States{}));
    EXPECT_EQ(checkLocal({{"/half", update}}).second, (States{{"/half", 5}}));
    EXPECT_EQ(checkLocal({{"/caf\u00e9", update}}).second, (States{{"/caf\u00e9", 3}}));
}

TEST_F(AutoInspectionTest, WatchedFolderItselfStandsForTheWholeTree)
{
    BXSyncInspectFile full;
    const auto expected = check(full, local.root());
    EXPECT_EQ(checkLocal({{"", update}}), expected);
    server.tree = local.read(true);
    EXPECT_EQ(checkServer({{"", update}}).second, expected.second);
    EXPECT_THAT(server.requests, ElementsAre("/", "/dir/", "/dir/new/", "/dir/sub/", "/dir-2/"));
}

TEST_F(AutoInspectionTest, ServerIsAskedOnlyForTheSnapshotAndOnceForEachFolder)
{
    server.tree = {{"kept", file("1", stored + 99)},
                   {"dir/a", file("1", stored + 99)},
                   {"dir/sub/c", file("1", stored)},
                   {"dir/new/n", file("1")},
                   {"other", file("1")}};
    EXPECT_EQ(checkServer({{"/kept", update}}), std::pair(std::int64_t{1}, States{{"/kept", 1}}));
    EXPECT_THAT(server.requests, ElementsAre("/kept"));
    EXPECT_EQ(checkServer({{"/fresh", update}}), std::pair(std::int64_t{0}, States{}));
    EXPECT_THAT(server.requests, ElementsAre("/fresh"));
    EXPECT_EQ(checkServer({{"/dir", update}}), std::pair(std::int64_t{4}, States{{"/dir", knownFolder},
                                                                                 {"/dir/a", 1},
                                                                                 {"/dir/b", 4},
                                                                                 {"/dir/sub", knownFolder},
                                                                                 {"/dir/new", newFolder},
                                                                                 {"/dir/new/n", 3}}));
    EXPECT_THAT(server.requests, ElementsAre("/dir/", "/dir/new/", "/dir/sub/"));
}

TEST_F(AutoInspectionTest, PathMissingOnTheServerIsDeletedThereOnlyWhenBothFormsAreMissing)
{
    server.tree = {{"dir", file("now a file", stored + 99)}};
    local.remove("out");
    EXPECT_EQ(checkServer({{"/out", deletion}}), std::pair(std::int64_t{1}, States{{"/out", 4}}));
    EXPECT_THAT(server.requests, ElementsAre("/out", "/out/"));
    EXPECT_EQ(checkServer({{"/dir", update}}).second.at("/dir"), 1);
    EXPECT_THAT(server.requests, ElementsAre("/dir/", "/dir"));
}

TEST_F(AutoInspectionTest, ServerFailureFailsTheCheck)
{
    server.tree = {{"dir/sub/c", file("1", stored)}};
    server.replies["/dir/sub"] = {500, {}};
    EXPECT_EQ(checkServer({{"/dir", update}}).first, -1);
    server.replies["/dir"] = {207, "<broken"};
    EXPECT_EQ(checkServer({{"/dir", update}}).first, -1);
}

} // namespace
} // namespace tidemark
