// A file that becomes a folder of the same name, or a folder that becomes a file, on one side.

#include <gtest/gtest.h>

#include "tests/support/SyncWorld.h"

namespace tidemark::test {
namespace {

using devserver::Mode;
using Outcome = BXSyncRunOutcome;

struct KindChange
{
    const char* name;
    /// Where it happens, and what it is before.
    bool here;
    bool wasFile;
    /// A folder with something in it.
    bool filled;
};

const KindChange changes[] = {
    {"fileToFolderHere", true, true, true},    {"fileToEmptyFolderHere", true, true, false},
    {"folderToFileHere", true, false, true},   {"emptyFolderToFileHere", true, false, false},
    {"fileToFolderThere", false, true, true},  {"fileToEmptyFolderThere", false, true, false},
    {"folderToFileThere", false, false, true}, {"emptyFolderToFileThere", false, false, false}};

class KindChangeSync : public ::testing::TestWithParam<std::tuple<Mode, KindChange>>
{
protected:
    KindChangeSync() : world(std::get<0>(GetParam())), change(std::get<1>(GetParam())), client(world.client)
    {
        setPolicy("delete", "delete");
        put(client.local, "", change.wasFile);
        EXPECT_EQ(client.sync(), Outcome::finished);
        auto& side = change.here ? client.local : world.remote;
        side.remove(change.here ? "p" : "sync/p");
        put(side, change.here ? "" : "sync/", !change.wasFile);
    }
    void setPolicy(const std::string& localDelete, const std::string& serverDelete)
    {
        client.conf->setLocalDelete(localDelete);
        client.conf->setServerDelete(serverDelete);
    }
    void put(TempTree& side, const std::string& folder, bool asFile) const
    {
        if (asFile)
            side.write(folder + "p", "file", at(1000));
        else if (change.filled)
            side.write(folder + "p/d/f.txt", "inside", at(200));
        else
            side.makeFolder(folder + "p");
    }

    SyncWorld world;
    const KindChange change;
    SyncClient& client;
};

INSTANTIATE_TEST_SUITE_P(Servers, KindChangeSync,
                         ::testing::Combine(::testing::Values(Mode::Plain, Mode::Product),
                                            ::testing::ValuesIn(changes)),
                         [](const auto& parameter) {
                             return (std::get<0>(parameter.param) == Mode::Plain ? "Plain_" : "Product_") +
                                    std::string(std::get<1>(parameter.param).name);
                         });

TEST_P(KindChangeSync, arrivesOnTheOtherSide)
{
    const auto expected = change.here ? client.local.read() : readTree(world.remote.path("sync"));
    EXPECT_EQ(client.sync(), Outcome::finished);
    EXPECT_EQ(client.local.read(), expected);
    EXPECT_EQ(readTree(world.remote.path("sync")), expected);
    world.expectSettled();
}

TEST_P(KindChangeSync, deletesNothingAgainstThePolicy)
{
    setPolicy("download", "upload");
    const auto here = client.local.read();
    const auto there = readTree(world.remote.path("sync"));
    EXPECT_EQ(client.sync(), Outcome::someItemsFailed);
    EXPECT_TRUE(client.manager().report().itemErrors().contains("/p"));
    EXPECT_EQ(client.local.read(), here);
    EXPECT_EQ(readTree(world.remote.path("sync")), there);
}

TEST_P(KindChangeSync, deletesNothingThatChangedOnTheOtherSide)
{
    const auto changed = std::string("p") + (change.wasFile ? "" : "/new.txt");
    if (change.here)
        world.writeOnServer(changed, "changed", at(5000));
    else
        client.local.write(changed, "changed", at(5000));
    const auto outcome = client.sync();
    EXPECT_EQ(change.here ? world.remote.content("sync/" + changed) : client.local.content(changed), "changed");
    // An empty folder holds nothing that could be lost.
    if (change.wasFile && !change.filled) return;
    EXPECT_EQ(outcome, Outcome::someItemsFailed);
    EXPECT_TRUE(client.manager().report().itemErrors().contains("/p"));
    const std::string inside = change.wasFile ? "p/d/f.txt" : "p";
    EXPECT_EQ(change.here ? client.local.content(inside) : world.remote.content("sync/" + inside),
              change.wasFile ? "inside" : "file");
}

} // namespace
} // namespace tidemark::test
