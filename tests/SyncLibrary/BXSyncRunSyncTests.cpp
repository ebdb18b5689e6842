// Whole runs: what is written to the sync-info when items fail or a run ends early, reconnection, and who else is
// there.

#include <gtest/gtest.h>
#include <sys/resource.h>

#include "SyncLibrary/BXSyncRunLock.h"
#include "tests/support/SyncWorld.h"

namespace tidemark::test {
namespace {

using devserver::Fault;
using devserver::Mode;
using Outcome = BXSyncRunOutcome;

Fault status(const std::string& method, const std::string& pattern, int code, int count = 1)
{
    return {method, pattern, devserver::fault::Status{code, {}, {}}, count};
}

class RunSync : public ::testing::TestWithParam<Mode>
{
protected:
    RunSync() : world(GetParam()), client(world.client) {}
    SyncWorld world;
    SyncClient& client;
};

INSTANTIATE_TEST_SUITE_P(Servers, RunSync, ::testing::Values(Mode::Plain, Mode::Product),
                         [](const auto& parameter) { return parameter.param == Mode::Plain ? "Plain" : "Product"; });

TEST_P(RunSync, carriesATreeOfAllSortsOfNamesBothWays)
{
    client.local.make({{"a/b/c.txt", file("c")},
                       {"empty", file("")},
                       {"with blank + plus.txt", file("1")},
                       {"per%cent%20.txt", file("2")},
                       {"gr\u00fc\u00df/\u65e5\u672c.txt", file("3")},
                       {"question?#&.txt", file("4")},
                       {"hollow", folder()}});
    EXPECT_EQ(client.sync(), Outcome::finished);
    world.expectSettled();
    SyncClient other(world.server->url("sync"));
    EXPECT_EQ(other.sync(), Outcome::finished);
    EXPECT_EQ(other.local.read(), client.local.read());
    world.expectSettled(other);
    world.expectSettled();
}

TEST_P(RunSync, twoClientsHandChangesOnAndFallQuiet)
{
    SyncClient other(world.server->url("sync"));
    client.local.make({{"d/a.txt", file("a", at(0))}, {"d/b.txt", file("b", at(0))}});
    ASSERT_EQ(client.sync(), Outcome::finished);
    ASSERT_EQ(other.sync(), Outcome::finished);
    other.local.write("d/a.txt", "changed", at(500));
    other.local.remove("d/b.txt");
    other.local.write("e/new.txt", "new", at(600));
    ASSERT_EQ(other.sync(), Outcome::finished);
    ASSERT_EQ(client.sync(), Outcome::finished);
    EXPECT_EQ(client.local.read(), other.local.read());
    EXPECT_EQ(client.local.content("d/a.txt"), "changed");
    EXPECT_FALSE(client.local.exists("d/b.txt"));
    world.expectSettled();
    world.expectSettled(other);
    client.local.remove("e");
    ASSERT_EQ(client.sync(), Outcome::finished);
    ASSERT_EQ(other.sync(), Outcome::finished);
    EXPECT_FALSE(other.local.exists("e"));
    world.expectSettled(other);
    world.expectSettled();
}

TEST_P(RunSync, aFailedItemKeepsItsOldRecordAndComesAgain)
{
    client.local.make({{"a.txt", file("1", at(0))}, {"b.txt", file("1", at(0))}});
    ASSERT_EQ(client.sync(), Outcome::finished);
    client.local.make({{"a.txt", file("2", at(50))}, {"b.txt", file("2", at(50))}, {"c.txt", file("2", at(50))}});
    world.server->addFault(status("PUT", "*/b.txt", 507));
    EXPECT_EQ(client.sync(), Outcome::someItemsFailed);
    const std::map<std::string, double> expected{{"/a.txt", at(50)}, {"/b.txt", at(0)}, {"/c.txt", at(50)}};
    EXPECT_EQ(client.syncInfo(), expected);
    const auto& errors = client.manager().report().itemErrors();
    ASSERT_EQ(errors.size(), 1U);
    EXPECT_EQ(errors.at("/b.txt").message, "INSUFFICIENT_STORAGE");
    EXPECT_EQ(errors.at("/b.txt").log, "Over capacity of storage.");
    EXPECT_EQ(client.sync(), Outcome::finished);
    world.expectSettled();
}

TEST_P(RunSync, aCancelledQuestionWritesOnlyAfterAnEarlierFailure)
{
    for (const bool failsFirst : {false, true}) {
        SCOPED_TRACE(failsFirst);
        const std::string prefix = failsFirst ? "y" : "x";
        client.asks = true;
        client.delegate.answers = {{"SYNCFILE_FAILURE", {0, false}}};
        client.local.make({{prefix + "1", file("1")}, {prefix + "2", file("1")}, {prefix + "3", file("1")}});
        const auto before = client.syncInfo();
        if (failsFirst) world.server->addFault(status("PUT", "*1", 413));
        world.server->addFault(status("PUT", "*3", 423));
        client.delegate.onAsked = [&](const BXSyncConfirmInfo&) {
            if (client.delegate.count("SYNCFILE_FAILURE") == (failsFirst ? 2U : 1U))
                client.delegate.answers["SYNCFILE_FAILURE"].result = 1;
        };
        client.delegate.asked.clear();
        EXPECT_EQ(client.sync(), Outcome::cancelled);
        EXPECT_TRUE(client.manager().cancelFlg());
        EXPECT_TRUE(client.hasLogged("Synchronization Cancel."));
        auto expected = before;
        if (failsFirst) expected["/y2"] = client.local.time("y2");
        EXPECT_EQ(client.syncInfo(), expected);
        client.asks = false;
        client.conf->setConflict("upload");
        EXPECT_EQ(client.sync(), Outcome::finished);
        world.expectSettled();
    }
}

TEST_P(RunSync, anAnswerThatStandsIsAskedOnce)
{
    client.local.make({{"a", file("1", at(0))}, {"b", file("1", at(0))}, {"c", file("1", at(0))}});
    ASSERT_EQ(client.sync(), Outcome::finished);
    for (const auto* name : {"a", "b"})
        client.local.write(name, "local", at(10)), world.writeOnServer(name, "server", at(20));
    client.local.remove("c");
    client.asks = true;
    client.delegate.answers = {{"FILE_CONFILCT", {1, true}}, {"DELETE_SERVER", {1, true}}};
    EXPECT_EQ(client.sync(), Outcome::finished);
    EXPECT_EQ(client.delegate.keys(), (std::vector<std::string>{"FILE_CONFILCT", "DELETE_SERVER"}));
    EXPECT_EQ(client.delegate.asked[0].otherInfo.at("recent_place").stringValue(), "server");
    EXPECT_EQ(client.delegate.asked[0].replaceStrings.at("filename"), "a");
    const auto& shown = client.delegate.asked[0].otherInfo;
    EXPECT_TRUE(shown.at("localname").stringValue().ends_with("/a"));
    EXPECT_TRUE(shown.at("servername").stringValue().ends_with("/sync/a"));
    EXPECT_EQ(shown.at("localsize"), PropertyList(5));
    EXPECT_EQ(shown.at("serversize"), PropertyList(6));
    EXPECT_FALSE(shown.contains("missing_place"));
    EXPECT_EQ(world.remote.content("sync/b"), "local");
    world.expectSettled();
}

TEST_P(RunSync, aConflictWithADeletionSaysThatTheFileIsGone)
{
    client.local.write("a", "1", at(0));
    ASSERT_EQ(client.sync(), Outcome::finished);
    client.local.write("a", "local", at(10));
    world.remote.remove("sync/a");
    client.asks = true;
    client.delegate.answers = {{"FILE_CONFILCT", {1, false}}};
    EXPECT_EQ(client.sync(), Outcome::finished);
    ASSERT_EQ(client.delegate.keys(), std::vector<std::string>{"FILE_CONFILCT"});
    const auto& shown = client.delegate.asked[0].otherInfo;
    EXPECT_EQ(shown.at("missing_place").stringValue(), "server");
    EXPECT_FALSE(shown.contains("serversize"));
    world.expectSettled();
}

TEST_P(RunSync, aRestoredFolderStaysOpenUntilTheNextRun)
{
    client.local.make({{"d/f.txt", file("1", at(0))}});
    ASSERT_EQ(client.sync(), Outcome::finished);
    client.local.remove("d");
    client.conf->setLocalDelete("download");
    EXPECT_EQ(client.sync(), Outcome::someItemsFailed);
    EXPECT_EQ(client.local.content("d/f.txt"), "1");
    world.expectSettled();
}

TEST_P(RunSync, deletingAFolderLeavesAloneWhatChangedInItOnTheOtherSide)
{
    client.local.make({{"d/f.txt", file("1", at(0))}, {"d/g.txt", file("1", at(0))}});
    ASSERT_EQ(client.sync(), Outcome::finished);
    world.remote.remove("sync/d");
    client.local.write("d/f.txt", "changed", at(10));
    client.local.write("d/e/n.txt", "new", at(10));
    EXPECT_EQ(client.sync(), Outcome::finished);
    const Tree expected{{"d/f.txt", file("changed")}, {"d/e/n.txt", file("new")}};
    EXPECT_EQ(client.local.read(), complete(expected));
    world.expectSettled();
}

TEST_P(RunSync, aRunInThisOrAnotherProgramKeepsOthersOut)
{
    client.local.write("a", "1");
    auto lock = BXSyncRunLock::tryAcquire(client.conf->syncinfoPath());
    ASSERT_TRUE(lock && *lock);
    EXPECT_EQ(client.sync(), Outcome::alreadyRunning);
    EXPECT_EQ(client.list(), Outcome::alreadyRunning);
    EXPECT_TRUE(client.hasLogged("ALREADY_SYNC_EXECUTEING"));
    EXPECT_EQ(world.requests("PUT"), 0U);
    lock->reset();
    EXPECT_EQ(client.sync(), Outcome::finished);
    EXPECT_EQ(client.sync(), Outcome::finished);
}

TEST_P(RunSync, listingAloneChangesNothing)
{
    client.local.write("a.txt", "1", at(0));
    world.writeOnServer("b.txt", "2", at(0));
    EXPECT_EQ(client.list(), Outcome::finished);
    EXPECT_EQ(client.manager().modifiedItems().size(), 2U);
    EXPECT_EQ(client.manager().totalFiles(), 2);
    EXPECT_EQ(client.manager().totalBytes(), 2);
    EXPECT_EQ(world.requests("PUT") + world.requests("GET"), 0U);
    EXPECT_TRUE(client.syncInfo().empty());
    EXPECT_FALSE(client.local.exists("b.txt"));
}

TEST_P(RunSync, anUnreadableSyncInfoStopsEverything)
{
    client.local.write("a.txt", "1", at(0));
    ASSERT_EQ(client.sync(), Outcome::finished);
    client.local.write("b.txt", "1", at(0));
    ASSERT_TRUE(fs::replaceFile(client.conf->syncinfoPath(), "bplist00 no more"));
    world.server->clearRequests();
    client.asks = true;
    EXPECT_EQ(client.sync(), Outcome::listupFailed);
    EXPECT_EQ(client.delegate.keys(), std::vector<std::string>{"SYNCFILELISTUP_FAILURE"});
    EXPECT_TRUE(client.hasLogged(client.conf->syncinfoPath()));
    EXPECT_EQ(world.server->requests().size(), 1U);
    EXPECT_EQ(fs::readFile(client.conf->syncinfoPath()).value(), "bplist00 no more");
}

TEST_P(RunSync, aMissingLocalFolderDeletesNothing)
{
    client.local.write("d/a.txt", "1", at(0));
    ASSERT_EQ(client.sync(), Outcome::finished);
    client.conf->setLocalPath(client.local.path("elsewhere"));
    EXPECT_EQ(client.sync(), Outcome::listupFailed);
    EXPECT_EQ(world.remote.content("sync/d/a.txt"), "1");
}

TEST_P(RunSync, manyFilesShareAConnectionPerThread)
{
    const int files = world.isProduct() ? 10'000 : 60;
    for (int i = 0; i < files; ++i)
        client.local.write("d" + std::to_string(i % 6) + "/f" + std::to_string(i), std::to_string(i));
    EXPECT_EQ(client.sync(), Outcome::finished);
    EXPECT_EQ(world.requests("PUT"), static_cast<std::size_t>(files));
    EXPECT_LE(world.server->connectionCount(), 3U); // signing in, listing and transferring
    if (world.isProduct()) return;
    SyncClient other(world.server->url("sync"));
    EXPECT_EQ(other.sync(), Outcome::finished);
    EXPECT_LE(world.server->connectionCount(), 6U);
    EXPECT_EQ(other.local.read(), client.local.read());
}

TEST_P(RunSync, aListingWithoutEndIsAnError)
{
    client.local.write("a.txt", "1", at(0));
    ASSERT_EQ(client.sync(), Outcome::finished);
    client.reconnect = {false, 0, 0};
    world.server->addFault({"PROPFIND", "*/sync/", devserver::fault::EndlessBody{"<D:response/>", 1 << 30}, 1});
    EXPECT_EQ(client.sync(), Outcome::connectionFailed);
    EXPECT_TRUE(client.hasLogged("Error Checking Update Server Files."));
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) // they keep shadows of the memory
    struct rusage usage = {};
    ASSERT_EQ(::getrusage(RUSAGE_SELF, &usage), 0);
    EXPECT_LT(usage.ru_maxrss, 800 * 1024) << "kilobytes at the peak";
#endif
    EXPECT_EQ(client.local.content("a.txt"), "1");
    world.expectSettled();
}

struct StatusRow
{
    int status;
    const char* message;
    int executions;
    bool extension = false;
};

TEST(RunStatus, mapsStatusesAndTriesOnlyLostConnectionsAgain)
{
    const StatusRow rows[] = {
        {403, "SERVERFILE_READONLY", 1},  {403, "SERVERFILE_REFUSAL_EXTENSION", 1, true},
        {413, "EXCEEDS_SIZE_PERFILE", 1}, {415, "VIRUS_DETECTED", 1},
        {423, "SERVERFILE_LOCK", 1},      {507, "INSUFFICIENT_STORAGE", 1},
        {418, "RETURN_STATUS_ERROR", 1},  {500, "SERVER_ERROR", 1},
        {503, "SERVER_ERROR", 4},
    };
    SyncWorld world(Mode::Product);
    world.client.local.write("a.txt", "1");
    for (const auto& row : rows) {
        SCOPED_TRACE(row.message);
        world.server->clearFaults();
        world.server->clearRequests();
        devserver::HeaderList headers;
        if (row.extension) headers.emplace_back("X-BX-REFUSAL-EXTENSION", "1");
        world.server->addFault({"PUT", "*", devserver::fault::Status{row.status, headers, {}}, Fault::forever});
        EXPECT_EQ(world.client.sync(), Outcome::someItemsFailed);
        EXPECT_EQ(world.client.manager().report().itemErrors().at("/a.txt").message, row.message);
        EXPECT_EQ(world.requests("PUT"), static_cast<std::size_t>(row.executions));
    }
}

TEST(RunStatus, asksBeforeEachReconnectionAndCountsTries)
{
    struct Row
    {
        BXSyncReconnectRule rule;
        std::optional<BXSyncConfirmResult> answer;
        std::size_t executions;
        std::size_t questions;
        Outcome outcome;
    };
    const Row rows[] = {
        {{true, 3, 7}, BXSyncConfirmResult{0, false}, 4, 3, Outcome::someItemsFailed},
        {{true, 3, 7}, std::nullopt, 4, 3, Outcome::someItemsFailed},
        {{true, 3, 7}, BXSyncConfirmResult{1, false}, 1, 1, Outcome::cancelled},
        {{true, 0, 7}, BXSyncConfirmResult{0, false}, 1, 0, Outcome::someItemsFailed},
        {{false, 3, 7}, BXSyncConfirmResult{0, false}, 1, 0, Outcome::someItemsFailed},
    };
    for (const auto& row : rows) {
        SyncWorld world(Mode::Product);
        auto& client = world.client;
        client.local.write("a.txt", "1");
        client.reconnect = row.rule;
        client.asks = true;
        client.errorskip = true;
        if (row.answer) client.delegate.answers["RECONNECT_MESSAGE"] = *row.answer;
        world.server->addFault({"PUT", "*", devserver::fault::DropResponse{}, Fault::forever});
        EXPECT_EQ(client.sync(), row.outcome);
        EXPECT_EQ(world.requests("PUT"), row.executions);
        EXPECT_EQ(client.delegate.count("RECONNECT_MESSAGE"), row.questions);
        EXPECT_EQ(client.hasLogged("Reconnect..."), row.executions > 1);
        if (row.questions == 0) continue;
        const auto& info = client.delegate.asked[0];
        EXPECT_EQ(info.timeout, 7);
        EXPECT_EQ(info.otherInfo.at("TITLE").stringValue(), "RECONNECT_TITLE");
        EXPECT_EQ(info.otherInfo.at("TIMEOUT_RETURN").integerValue(), 0);
    }
}

TEST(RunStatus, aLostConnectionIsTakenUpAgain)
{
    SyncWorld world(Mode::Plain);
    world.client.local.write("a.txt", std::string(100'000, 'a'));
    world.server->addFault({"PUT", "*", devserver::fault::CutRequest{5000}, 1});
    world.server->addFault({"PROPFIND", "*", devserver::fault::DropResponse{}, 1});
    EXPECT_EQ(world.client.sync(), Outcome::finished);
    world.expectSettled();
}

TEST(RunStatus, aServerThatIsGoneFailsTheListing)
{
    SyncWorld world(Mode::Plain);
    world.client.reconnect.reconnect = false;
    world.server->addFault({"PROPFIND", "*", devserver::fault::DropResponse{}, Fault::forever});
    EXPECT_EQ(world.client.sync(), Outcome::connectionFailed);
    world.server->clearFaults();
    world.server->addFault(status("PROPFIND", "*", 404, Fault::forever));
    EXPECT_EQ(world.client.sync(), Outcome::listupFailed);
}

// Each request of a run stalls in turn, and the run is cancelled while it waits: it must end, and the next must finish.
TEST(RunCancel, endsTheRunAtAnyRequest)
{
    for (int request = 0; request < 9; ++request) {
        SCOPED_TRACE(request);
        SyncWorld world(Mode::Plain);
        auto& client = world.client;
        client.conf->setConflict("upload");
        client.local.make({{"d/a.txt", file("1")}, {"b.txt", file("1")}});
        world.writeOnServer("s.txt", "server", at(0));
        client.prepare();
        Fault stall{"*", "*", devserver::fault::Stall{devserver::fault::StallPlace::BeforeReadingBody, 0}, 1};
        stall.skip = request;
        const auto before = world.server->faultsStruck();
        world.server->addFault(stall);
        const auto thread = client.manager().startSync();
        const bool stalled = request < 8 && world.server->waitForFaults(before + 1);
        EXPECT_EQ(stalled, request < 8);
        client.manager().setCancelFlg(stalled);
        thread->join();
        EXPECT_EQ(client.manager().outcome(), stalled ? Outcome::cancelled : Outcome::finished);
        world.server->clearFaults();
        EXPECT_EQ(client.sync(), Outcome::finished);
        world.expectSettled();
    }
}

TEST(RunCancel, wakesTheWaitForAReconnection)
{
    SyncWorld world(Mode::Plain);
    auto& client = world.client;
    client.local.write("a.txt", "1");
    client.reconnect = {true, 3, 100'000};
    client.prepare();
    world.server->addFault({"PUT", "*", devserver::fault::DropResponse{}, Fault::forever});
    const auto thread = client.manager().startSync();
    ASSERT_TRUE(world.server->waitForFaults(1));
    client.manager().setCancelFlg(true);
    thread->join();
    EXPECT_EQ(client.manager().outcome(), Outcome::cancelled);
}

TEST(RunHostile, listingsCannotReachOutOfTheFolder)
{
    for (const auto* href : {"/dav/sync/..%2f..%2fevil.txt", "/dav/sync/%2e%2e/evil.txt", "/dav/sync/a%00b",
                             "/dav/sync/..", "/dav/sync/%ff%fe"}) {
        SCOPED_TRACE(href);
        SyncWorld world(Mode::Plain);
        auto& client = world.client;
        client.local.makeFolder("inner");
        client.conf->setLocalPath(client.local.path("inner"));
        client.local.write("evil.txt", "mine", at(0));
        world.server->addFault({"PROPFIND", "*", devserver::fault::AddEntry{href, false, 4}, Fault::forever});
        world.server->addFault({"PROPFIND", "*", devserver::fault::AddEntry{href, true, 0}, 1});
        client.sync();
        EXPECT_EQ(client.local.content("evil.txt"), "mine");
        for (const auto& [path, entry] : client.local.read())
            EXPECT_TRUE(path.starts_with("inner") || path == "evil.txt") << path;
    }
}

TEST(RunHostile, badDocumentsFailTheListing)
{
    std::string deep;
    for (int i = 0; i < 400; ++i)
        deep += "<a>";
    for (const auto& body : {std::string("<!DOCTYPE a [<!ENTITY b \"c\">]><a>&b;</a>"), deep,
                             std::string("<D:multistatus"), std::string("")}) {
        SyncWorld world(Mode::Plain);
        world.client.local.write("a.txt", "1", at(0));
        ASSERT_EQ(world.client.sync(), Outcome::finished);
        world.server->addFault({"PROPFIND", "*", devserver::fault::ReplaceBody{body}, Fault::forever});
        EXPECT_EQ(world.client.sync(), Outcome::listupFailed);
        EXPECT_EQ(world.client.local.content("a.txt"), "1");
        EXPECT_EQ(world.requests("DELETE"), 0U);
    }
}

TEST(RunProgress, tellsEveryItemOnce)
{
    SyncWorld world(Mode::Plain);
    auto& client = world.client;
    client.local.make({{"gone.txt", file("12345", at(0))}, {"kept.txt", file("1", at(0))}});
    ASSERT_EQ(client.sync(), Outcome::finished);
    client.local.remove("gone.txt");
    client.local.write("up.txt", "123", at(0));
    world.writeOnServer("down.txt", "1234", at(0));
    RecordingProgress progress;
    client.progress = &progress;
    EXPECT_EQ(client.sync(), Outcome::finished);
    const std::vector<std::string> expected{"total 0 0 0 reset",
                                            "total 3 1 7 reset",
                                            "delete gone.txt",
                                            "done /gone.txt",
                                            "up up.txt 3",
                                            "PUT",
                                            "finish",
                                            "done /up.txt",
                                            "down down.txt 4",
                                            "GET",
                                            "finish",
                                            "done /down.txt"};
    EXPECT_EQ(progress.lines, expected);
}

} // namespace
} // namespace tidemark::test
