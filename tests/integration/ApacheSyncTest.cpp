// Whole runs against Apache, a server that knows nothing of the product: tree, run, tree.

#include <algorithm>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ApacheFolder.h"

namespace tidemark::testing {

namespace {

using test::file;
using test::folder;
using test::Tree;

constexpr double baseTime = 1'600'000'000;
constexpr double earlier = 1'600'001'000;
constexpr double later = 1'600'002'000;

enum class Change
{
    newLocally,
    newOnServer,
    updatedLocally,
    updatedOnServer,
    conflict,
    conflictNewerOnServer,
    deletedLocally,
    deletedOnServer,
    folderNewLocally,
    folderNewOnServer,
    folderDeletedLocally,
    folderDeletedOnServer,
};

/// How the path that a change is about looks on a side afterwards.
enum class Side
{
    absent,
    base,
    local,
    server
};

enum class Record
{
    none,
    base,
    /// The time that the file has on the disk.
    current
};

constexpr auto twoWay = SyncMode::twoWay, uploadOnly = SyncMode::uploadOnly, downloadOnly = SyncMode::downloadOnly;
constexpr auto finished = BXSyncRunOutcome::finished, cancelled = BXSyncRunOutcome::cancelled,
               someFailed = BXSyncRunOutcome::someItemsFailed;
constexpr int nobody = -1;

/// What a run does.
struct Work
{
    std::size_t uploads = 0, downloads = 0, deletions = 0, newFolders = 0;

    friend bool operator==(const Work&, const Work&) = default;
    friend std::ostream& operator<<(std::ostream& out, const Work& work)
    {
        return out << "PUT " << work.uploads << " GET " << work.downloads << " DELETE " << work.deletions << " MKCOL "
                   << work.newFolders;
    }
};

struct Row
{
    Change change;
    SyncMode mode;
    /// The one that the change is about.
    const char* policy;
    /// The answer to every question, or `nobody` to ask.
    int answer;

    Side onDisk, onServer;
    Work work;
    Record record = Record::current;
    BXSyncRunOutcome outcome = finished;
    /// The next run finds nothing to do.
    bool quiet = true;
};

constexpr Work upload{1, 0, 0, 0}, download{0, 1, 0, 0}, deletion{0, 0, 1, 0}, nothing{};

const Row rows[] = {
    {Change::newLocally, twoWay, "confirm", nobody, Side::local, Side::local, upload},
    {Change::newOnServer, twoWay, "confirm", nobody, Side::server, Side::server, download},
    {Change::updatedLocally, twoWay, "confirm", nobody, Side::local, Side::local, upload},
    {Change::updatedOnServer, twoWay, "confirm", nobody, Side::server, Side::server, download},
    {Change::conflict, twoWay, "upload", nobody, Side::local, Side::local, upload},
    {Change::conflict, twoWay, "download", nobody, Side::server, Side::server, download},
    {Change::conflict, twoWay, "none", nobody, Side::local, Side::server, nothing, Record::base, someFailed, false},
    {Change::conflict, twoWay, "confirm", nobody, Side::local, Side::local, upload},
    {Change::conflict, twoWay, "confirm", 0, Side::local, Side::local, upload},
    {Change::conflict, twoWay, "confirm", 1, Side::local, Side::local, upload},
    {Change::conflict, twoWay, "confirm", 2, Side::server, Side::server, download},
    {Change::conflict, twoWay, "confirm", 3, Side::local, Side::server, nothing, Record::base, cancelled, false},
    {Change::conflictNewerOnServer, twoWay, "confirm", nobody, Side::server, Side::server, download},
    {Change::conflictNewerOnServer, twoWay, "confirm", 0, Side::server, Side::server, download},
    {Change::conflictNewerOnServer, twoWay, "upload", nobody, Side::local, Side::local, upload},
    {Change::deletedLocally, twoWay, "delete", nobody, Side::absent, Side::absent, deletion, Record::none},
    {Change::deletedLocally, twoWay, "download", nobody, Side::base, Side::base, download},
    // Without a record the file is new to the next run.
    {Change::deletedLocally, twoWay, "none", nobody, Side::absent, Side::base, nothing, Record::none, finished, false},
    {Change::deletedLocally, twoWay, "confirm", nobody, Side::absent, Side::absent, deletion, Record::none},
    {Change::deletedLocally, twoWay, "confirm", 0, Side::base, Side::base, download},
    {Change::deletedLocally, twoWay, "confirm", 1, Side::absent, Side::absent, deletion, Record::none},
    {Change::deletedLocally, twoWay, "confirm", 3, Side::absent, Side::base, nothing, Record::base, cancelled, false},
    {Change::deletedOnServer, twoWay, "delete", nobody, Side::absent, Side::absent, nothing, Record::none},
    {Change::deletedOnServer, twoWay, "upload", nobody, Side::base, Side::base, upload},
    {Change::deletedOnServer, twoWay, "none", nobody, Side::base, Side::absent, nothing, Record::base, finished, false},
    {Change::deletedOnServer, twoWay, "confirm", nobody, Side::absent, Side::absent, nothing, Record::none},
    {Change::deletedOnServer, twoWay, "confirm", 0, Side::base, Side::base, upload},
    {Change::deletedOnServer, twoWay, "confirm", 1, Side::absent, Side::absent, nothing, Record::none},
    {Change::deletedOnServer, twoWay, "confirm", 3, Side::base, Side::absent, nothing, Record::base, cancelled, false},
    {Change::folderNewLocally, twoWay, "confirm", nobody, Side::local, Side::local, {1, 0, 0, 1}},
    {Change::folderNewOnServer, twoWay, "confirm", nobody, Side::server, Side::server, download},
    {Change::folderDeletedLocally, twoWay, "delete", nobody, Side::absent, Side::absent, deletion, Record::none},
    // The folder counts as not done, so that its record comes with the next run.
    {Change::folderDeletedLocally, twoWay, "download", nobody, Side::base, Side::base, download, Record::current,
     someFailed},
    {Change::folderDeletedOnServer, twoWay, "delete", nobody, Side::absent, Side::absent, nothing, Record::none},
    {Change::folderDeletedOnServer, twoWay, "upload", nobody, Side::base, Side::base, {1, 0, 0, 1}},

    {Change::newLocally, uploadOnly, "confirm", nobody, Side::local, Side::local, upload},
    {Change::newOnServer, uploadOnly, "confirm", nobody, Side::absent, Side::server, nothing, Record::none},
    {Change::updatedLocally, uploadOnly, "confirm", nobody, Side::local, Side::local, upload},
    {Change::updatedOnServer, uploadOnly, "confirm", nobody, Side::base, Side::server, nothing, Record::base},
    {Change::conflict, uploadOnly, "download", nobody, Side::local, Side::local, upload},
    {Change::conflictNewerOnServer, uploadOnly, "confirm", 2, Side::local, Side::local, upload},
    {Change::deletedLocally, uploadOnly, "delete", nobody, Side::absent, Side::absent, deletion, Record::none},
    {Change::deletedLocally, uploadOnly, "none", nobody, Side::absent, Side::base, nothing, Record::base},
    {Change::deletedLocally, uploadOnly, "confirm", nobody, Side::absent, Side::base, nothing, Record::none},
    {Change::deletedLocally, uploadOnly, "confirm", 1, Side::absent, Side::absent, deletion, Record::none},
    {Change::deletedLocally, uploadOnly, "confirm", 2, Side::absent, Side::base, nothing, Record::none},
    {Change::deletedLocally, uploadOnly, "confirm", 3, Side::absent, Side::base, nothing, Record::base, cancelled,
     false},
    {Change::deletedOnServer, uploadOnly, "delete", nobody, Side::base, Side::absent, nothing, Record::base},
    {Change::folderNewLocally, uploadOnly, "confirm", nobody, Side::local, Side::local, {1, 0, 0, 1}},
    {Change::folderDeletedLocally, uploadOnly, "delete", nobody, Side::absent, Side::absent, deletion, Record::none},

    {Change::newLocally, downloadOnly, "confirm", nobody, Side::local, Side::absent, nothing, Record::none},
    {Change::newOnServer, downloadOnly, "confirm", nobody, Side::server, Side::server, download},
    {Change::updatedLocally, downloadOnly, "confirm", nobody, Side::local, Side::base, nothing, Record::base},
    {Change::updatedOnServer, downloadOnly, "confirm", nobody, Side::server, Side::server, download},
    {Change::conflict, downloadOnly, "upload", nobody, Side::server, Side::server, download},
    {Change::conflict, downloadOnly, "confirm", 1, Side::server, Side::server, download},
    {Change::deletedLocally, downloadOnly, "delete", nobody, Side::absent, Side::base, nothing, Record::base},
    {Change::deletedOnServer, downloadOnly, "delete", nobody, Side::absent, Side::absent, nothing, Record::none},
    {Change::deletedOnServer, downloadOnly, "none", nobody, Side::base, Side::absent, nothing, Record::base},
    {Change::deletedOnServer, downloadOnly, "confirm", nobody, Side::base, Side::absent, nothing, Record::none},
    {Change::deletedOnServer, downloadOnly, "confirm", 1, Side::absent, Side::absent, nothing, Record::none},
    {Change::deletedOnServer, downloadOnly, "confirm", 2, Side::base, Side::absent, nothing, Record::none},
    {Change::deletedOnServer, downloadOnly, "confirm", 3, Side::base, Side::absent, nothing, Record::base, cancelled,
     false},
    {Change::folderNewOnServer, downloadOnly, "confirm", nobody, Side::server, Side::server, download},
    {Change::folderDeletedOnServer, downloadOnly, "delete", nobody, Side::absent, Side::absent, nothing, Record::none},
};

const Tree baseTree{{"keep", file("kept", baseTime)}, {"f", file("base", baseTime)}, {"d/x", file("base", baseTime)}};

std::string pathOf(Change change)
{
    switch (change) {
    case Change::newLocally:
    case Change::newOnServer:
        return "new";
    case Change::updatedLocally:
    case Change::updatedOnServer:
    case Change::conflict:
    case Change::conflictNewerOnServer:
    case Change::deletedLocally:
    case Change::deletedOnServer:
        return "f";
    case Change::folderNewLocally:
    case Change::folderNewOnServer:
        return "e/x";
    case Change::folderDeletedLocally:
    case Change::folderDeletedOnServer:
        return "d/x";
    }
    return {};
}

void apply(Change change, test::TempTree& local, const ServerFolder& onServer)
{
    switch (change) {
    case Change::folderNewOnServer:
        onServer.makeFolder("e/");
        [[fallthrough]];
    case Change::newOnServer:
    case Change::updatedOnServer:
        return onServer.write(pathOf(change), "server", later);
    case Change::newLocally:
    case Change::updatedLocally:
    case Change::folderNewLocally:
        return local.write(pathOf(change), "local", later);
    case Change::conflict:
        local.write("f", "local", later);
        return onServer.write("f", "server", earlier);
    case Change::conflictNewerOnServer:
        local.write("f", "local", earlier);
        return onServer.write("f", "server", later);
    case Change::deletedLocally:
        return local.remove("f");
    case Change::deletedOnServer:
        return onServer.remove("f");
    case Change::folderDeletedLocally:
        return local.remove("d");
    case Change::folderDeletedOnServer:
        return onServer.remove("d/");
    }
}

Tree treeWith(const std::string& path, Side side)
{
    Tree tree = baseTree;
    switch (side) {
    case Side::absent:
        tree.erase(path);
        break;
    case Side::base:
        tree[path] = file("base");
        break;
    case Side::local:
        tree[path] = file("local");
        break;
    case Side::server:
        tree[path] = file("server");
        break;
    }
    return complete(tree);
}

Work workOf(const std::vector<ApacheRequest>& requests)
{
    return {countMethod(requests, "PUT"), countMethod(requests, "GET"), countMethod(requests, "DELETE"),
            countMethod(requests, "MKCOL")};
}

std::size_t countFolders(const Tree& tree)
{
    return 1 + static_cast<std::size_t>(
                   std::ranges::count_if(tree, [](const auto& entry) { return entry.second.isFolder; }));
}

class ApacheSync : public ::testing::TestWithParam<SignIn>
{
protected:
    void check(const Row& row, const std::string& name);
    void checkRows(SyncMode mode);
    void checkRecord(const Row& row, ApacheClient& client);
    /// Nothing is transferred, and each folder is listed once.
    void checkQuietRun(ApacheClient& client, const ServerFolder& onServer);

    ApacheServer server_{{.signIn = GetParam()}};
};

void ApacheSync::check(const Row& row, const std::string& name)
{
    const ServerFolder onServer(server_, name);
    ApacheClient client(server_, onServer.path());
    client.local.make(baseTree);
    ASSERT_EQ(client.sync(), finished);
    apply(row.change, client.local, onServer);

    client.conf->setMode(row.mode);
    client.conf->setConflict(row.policy);
    client.conf->setServerDelete(row.policy);
    client.conf->setLocalDelete(row.policy);
    client.asks = row.answer != nobody;
    for (const char* question : {"FILE_CONFILCT", "DELETE_SERVER", "DELETE_LOCAL"})
        client.delegate.answers[question] = {row.answer, false};
    server_.clearRequests();
    EXPECT_EQ(client.sync(), row.outcome);

    EXPECT_EQ(workOf(server_.requests()), row.work);
    EXPECT_EQ(client.local.read(), treeWith(pathOf(row.change), row.onDisk));
    EXPECT_EQ(onServer.tree(), treeWith(pathOf(row.change), row.onServer));
    checkRecord(row, client);
    if (row.quiet) checkQuietRun(client, onServer);
}

void ApacheSync::checkRows(SyncMode mode)
{
    int number = 0;
    for (const Row& row : rows) {
        ++number;
        if (row.mode != mode) continue;
        SCOPED_TRACE("row " + std::to_string(number) + ", path " + pathOf(row.change) + ", policy " + row.policy +
                     ", answer " + std::to_string(row.answer));
        check(row, "row" + std::to_string(number));
    }
}

void ApacheSync::checkRecord(const Row& row, ApacheClient& client)
{
    const std::string path = pathOf(row.change);
    const std::map<std::string, double> records = client.syncInfo();
    EXPECT_TRUE(records.contains("/keep"));
    const auto found = records.find("/" + path);
    ASSERT_EQ(found != records.end(), row.record != Record::none);
    if (found == records.end()) return;
    const double expected = row.record == Record::base ? baseTime : client.local.time(path);
    EXPECT_NEAR(found->second, expected, 1);
}

void ApacheSync::checkQuietRun(ApacheClient& client, const ServerFolder& onServer)
{
    const auto records = client.syncInfo();
    server_.clearRequests();
    client.delegate.asked.clear();
    EXPECT_EQ(client.sync(), finished);
    EXPECT_THAT(client.items(), ::testing::IsEmpty());
    EXPECT_THAT(client.delegate.keys(), ::testing::IsEmpty());
    const auto requests = server_.requests();
    const std::size_t listings = client.conf->mode() == uploadOnly ? 0 : countFolders(onServer.tree());
    EXPECT_EQ(countMethod(requests, "OPTIONS"), 1U);
    EXPECT_EQ(countMethod(requests, "PROPFIND"), listings);
    EXPECT_EQ(requests.size(), 1 + listings) << ::testing::PrintToString(requests);
    EXPECT_EQ(client.syncInfo(), records);
}

} // namespace

TEST_P(ApacheSync, EveryChangeWithEveryPolicyBothWays)
{
    checkRows(twoWay);
}

TEST_P(ApacheSync, EveryChangeWithEveryPolicyUpwards)
{
    checkRows(uploadOnly);
}

TEST_P(ApacheSync, EveryChangeWithEveryPolicyDownwards)
{
    checkRows(downloadOnly);
}

TEST_P(ApacheSync, WhatOneClientDoesArrivesAtTheOther)
{
    const ServerFolder onServer(server_, "shared");
    ApacheClient anna(server_, onServer.path()), ben(server_, onServer.path());
    const auto exchange = [&](ApacheClient& from, ApacheClient& to) {
        EXPECT_EQ(from.sync(), finished);
        EXPECT_EQ(to.sync(), finished);
        EXPECT_EQ(onServer.tree(), from.local.read());
        EXPECT_EQ(to.local.read(true), from.local.read(true));
        checkQuietRun(from, onServer);
        checkQuietRun(to, onServer);
    };
    anna.local.make({{"a b+c%.txt", file("a long text", baseTime)},
                     {"100% +/\u00fcber/\u65e5\u672c;?#&", file("deep", baseTime)},
                     {"empty", file("", baseTime)},
                     {"no files", folder()}});
    exchange(anna, ben);
    ben.local.make(
        {{"a b+c%.txt", file("short", earlier)}, {"empty", file("filled", earlier)}, {"new/x", file("x", earlier)}});
    ben.local.remove("no files");
    exchange(ben, anna);
    anna.local.remove("100% +");
    anna.local.move("new", "moved");
    exchange(anna, ben);
    anna.local.write("a b+c%.txt", "of anna", later);
    ben.local.write("new again", "of ben", later);
    EXPECT_EQ(anna.sync(), finished);
    exchange(ben, anna);
    anna.local.remove("a b+c%.txt");
    anna.local.make({{"a b+c%.txt/now a folder", file("inside", later)}});
    exchange(anna, ben);
    ben.local.remove("moved");
    ben.local.write("moved", "now a file", later);
    exchange(ben, anna);
}

TEST_P(ApacheSync, ManyFilesNeedOneConnectionAThread)
{
    constexpr int count = 300;
    const ServerFolder onServer(server_, "many");
    ApacheClient anna(server_, onServer.path()), ben(server_, onServer.path());
    for (int number = 0; number < count; ++number)
        anna.local.write("f" + std::to_string(number), std::to_string(number), baseTime);
    // Of the sign-in, of the listing, of the run.
    constexpr std::size_t threads = 3;
    for (ApacheClient* client : {&anna, &ben}) {
        server_.clearRequests();
        EXPECT_EQ(client->sync(), finished);
        const auto requests = server_.requests();
        EXPECT_GE(requests.size(), static_cast<std::size_t>(count));
        EXPECT_LE(countConnections(requests), threads);
        EXPECT_LE(countStatus(requests, 401), 1U);
    }
    EXPECT_EQ(ben.local.read(true), anna.local.read(true));
    checkQuietRun(anna, onServer);
}

INSTANTIATE_TEST_SUITE_P(SignIn, ApacheSync, ::testing::Values(SignIn::basic, SignIn::digest),
                         [](const auto& value) { return nameOf(value.param); });

} // namespace tidemark::testing
