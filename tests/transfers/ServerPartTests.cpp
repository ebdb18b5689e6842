// A server that shows a file as the part of somebody's upload: a part is never fetched, and does not pass for the file.

#include <gtest/gtest.h>

#include "devserver/DeadProperties.h"
#include "tests/transfers/Material.h"

namespace tidemark::test {
namespace {

using Outcome = BXSyncRunOutcome;

class ServerPart : public ::testing::Test
{
protected:
    /// The first half of the file, as an upload leaves it that was cut off.
    void leavePart()
    {
        world.writeOnServer("f.bin", whole.substr(0, whole.size() / 2), at(50));
        world.server->setProperty("sync/f.bin", devserver::productNamespace, "suspend", "1");
    }
    void expectWholeOnBothSides()
    {
        EXPECT_EQ(client.sync(), Outcome::finished);
        EXPECT_TRUE(client.local.content("f.bin") == whole);
        EXPECT_TRUE(world.remote.content("sync/f.bin") == whole);
    }

    const std::string whole = bytes(kibibyte * 200);
    SyncWorld world{devserver::Mode::Product};
    SyncClient& client = world.client;
};

TEST_F(ServerPart, ofAnotherClientIsLeftAloneUntilItIsWhole)
{
    leavePart();
    EXPECT_EQ(client.sync(), Outcome::finished);
    EXPECT_FALSE(client.local.exists("f.bin"));
    EXPECT_FALSE(client.syncInfo().contains("/f.bin"));
    EXPECT_EQ(world.requests("GET"), 0U);
    world.writeOnServer("f.bin", whole, at(100));
    expectWholeOnBothSides();
    world.expectSettled();
}

TEST_F(ServerPart, ofAFileThatIsHereIsUploadedAgain)
{
    client.local.write("f.bin", whole, at(0));
    ASSERT_EQ(client.sync(), Outcome::finished);
    leavePart();
    expectWholeOnBothSides();
    EXPECT_EQ(world.requests("GET"), 0U);
}

TEST_F(ServerPart, doesNotComeBackInPlaceOfAFileThatWasDeletedHere)
{
    client.conf->setLocalDelete("download");
    client.local.write("f.bin", whole, at(0));
    ASSERT_EQ(client.sync(), Outcome::finished);
    client.local.remove("f.bin");
    leavePart();
    EXPECT_EQ(client.sync(), Outcome::someItemsFailed);
    EXPECT_EQ(client.manager().report().itemErrors().at("/f.bin").message, "SERVERFILE_INCOMPLETE");
    EXPECT_FALSE(client.local.exists("f.bin"));
    EXPECT_EQ(world.requests("GET"), 0U);
    world.writeOnServer("f.bin", whole, at(100));
    expectWholeOnBothSides();
    world.expectSettled();
}

} // namespace
} // namespace tidemark::test
