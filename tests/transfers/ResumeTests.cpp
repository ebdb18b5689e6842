// Where an interrupted download goes on, counted in the bytes that cross the wire.

#include <gtest/gtest.h>

#include "SyncLibrary/BXSyncUtils.h"
#include "tests/transfers/Material.h"

namespace tidemark::test {
namespace {

using devserver::Fault;
using devserver::FaultEffect;
using devserver::Mode;
namespace fault = devserver::fault;
using Outcome = BXSyncRunOutcome;

constexpr std::size_t whole = 2 * mebibyte + mebibyte / 2;

struct Case
{
    const char* name;
    std::size_t partial;
    /// Body bytes of all downloads.
    std::size_t downloaded;
    std::optional<std::string> probe;
    std::string cryptoFile = {};
    std::optional<std::uint64_t> probeLimit = {};
    std::vector<Fault> faults = {};
};

std::ostream& operator<<(std::ostream& out, const Case& row)
{
    return out << row.name;
}

Fault onProbe(FaultEffect effect)
{
    return {"HEAD", "*", std::move(effect), 1};
}

Fault onDownload(FaultEffect effect)
{
    return {"GET", "*", std::move(effect), 1};
}

const Case cases[] = {
    {"OneByte", 1, whole - 1, "bytes=0-0"},
    {"UnderAMebibyte", mebibyte - 1, whole - mebibyte + 1, "bytes=0-1048574"},
    {"AMebibyte", mebibyte, whole - mebibyte, "bytes=0-1048575"},
    {"OverAMebibyte", mebibyte + 1, whole - mebibyte - 1, "bytes=1-1048576"},
    {"Empty", 0, whole, std::nullopt},
    // Nothing is left to ask for: the range is refused and the file fetched anew.
    {"Complete", whole, whole, "bytes=1572864-2621439"},
    {"LongerThanTheServers", whole + 5, whole, "bytes=1572869-2621444", {}, 0},

    {"CryptoServer", mebibyte, whole, std::nullopt, "1"},
    {"WholeBlocksOnly", mebibyte + 5, whole - mebibyte, "bytes=5-1048580", "2"},
    {"NotOneWholeBlock", mebibyte - 5, whole, "bytes=0-1048570", "2"},
    {"WholeBlocksOfAShortRange", 2 * mebibyte + 5, whole - mebibyte, "bytes=1048581-2097156", "2", 1000},

    {"ShortRange", mebibyte + 500, whole - 500 - 1000, "bytes=500-1049075", {}, 1000},
    {"RangeOfNothing", 512'000, whole, "bytes=0-511999", {}, 0},

    {"MissingOnTheServer", 512'000, whole, "bytes=0-511999", {}, {}, {onProbe(fault::Status{404, {}, {}})}},
    {"ProbeRefused", 512'000, whole, "bytes=0-511999", {}, {}, {onProbe(fault::Status{403, {}, {}})}},
    {"ProbeFails", 512'000, whole, "bytes=0-511999", {}, {}, {onProbe(fault::Status{500, {}, {}})}},
    {"ProbeIsDropped", 512'000, whole, "bytes=0-511999", {}, {}, {onProbe(fault::DropResponse{})}},
    {"NoDigest", 512'000, whole, "bytes=0-511999", {}, {}, {onProbe(fault::Header{"X-BX-Partial-MD5", ""})}},
    {"OtherDigest",
     512'000,
     whole,
     "bytes=0-511999",
     {},
     {},
     {onProbe(fault::Header{"X-BX-Partial-MD5", "00112233445566778899aabbccddeeff"})}},
    {"LengthOverTheRange",
     512'000,
     whole,
     "bytes=0-511999",
     {},
     {},
     {onProbe(fault::Header{"X-BX-Partial-Length", "512001"})}},
    {"NegativeLength", 512'000, whole, "bytes=0-511999", {}, {}, {onProbe(fault::Header{"X-BX-Partial-Length", "-1"})}},
    {"LengthThatIsNoNumber",
     512'000,
     whole,
     "bytes=0-511999",
     {},
     {},
     {onProbe(fault::Header{"X-BX-Partial-Length", "12x"})}},

    {"RangeRefused", 512'000, whole, "bytes=0-511999", {}, {}, {onDownload(fault::Status{416, {}, "no such range"})}},
    {"RangeIgnored", 512'000, whole + 0, "bytes=0-511999", {}, {}, {onDownload(fault::Status{200, {}, bytes(whole)})}},
};

class ResumeProbe : public ::testing::TestWithParam<Case>
{
};

INSTANTIATE_TEST_SUITE_P(Cases, ResumeProbe, ::testing::ValuesIn(cases),
                         [](const auto& parameter) { return parameter.param.name; });

TEST_P(ResumeProbe, decidesWhatIsFetched)
{
    const auto& row = GetParam();
    SyncWorld world(Mode::Product, [&](auto& options) {
        options.product.cryptoFile = row.cryptoFile;
        options.product.probeLimit = row.probeLimit;
    });
    auto& client = world.client;
    client.reconnect.reconnect = false;
    world.writeOnServer("f.bin", bytes(whole), at(0));
    client.local.write("f.bin", bytes(whole + mebibyte).substr(0, row.partial));
    ASSERT_TRUE(BXSyncUtils::addSuspendFlag(client.local.path("f.bin")));
    for (const auto& fault : row.faults)
        world.server->addFault(fault);
    EXPECT_EQ(client.sync(), Outcome::finished);
    EXPECT_TRUE(client.local.content("f.bin") == bytes(whole));
    EXPECT_EQ(downloadedBytes(world), row.downloaded);
    EXPECT_EQ(world.requests("HEAD"), row.probe ? 1U : 0U);
    if (row.probe) {
        EXPECT_EQ(firstRequest(world, "HEAD").header("X-BX-Partial-MD5"), row.probe);
    }
    EXPECT_EQ(world.requests("PUT"), 0U);
    world.expectSettled();
}

/// A marked part of what the server has.
void leavePart(SyncWorld& world, std::size_t length)
{
    world.client.local.write("f.bin", bytes(whole).substr(0, length));
    ASSERT_TRUE(BXSyncUtils::addSuspendFlag(world.client.local.path("f.bin")));
}

TEST(Resume, isNotTriedWithoutTheProductOrWithAKey)
{
    for (const auto& kind : kinds) {
        if (kind.mode == Mode::Product && kind.key.empty()) continue;
        SCOPED_TRACE(kind.name);
        KindWorld world(kind);
        world.putOnServer("f.bin", bytes(whole), at(0));
        leavePart(world, mebibyte);
        EXPECT_EQ(world.client.sync(), Outcome::finished);
        EXPECT_EQ(world.requests("HEAD"), 0U);
        EXPECT_EQ(firstRequest(world, "GET").header("Range"), std::nullopt);
        EXPECT_EQ(downloadedBytes(world), cipherOf(bytes(whole), kind.key).size());
        world.expectBoth({{"f.bin", bytes(whole)}});
    }
}

// A mark whose file has changed since says nothing any more: the file is somebody's work.
TEST(Resume, aPartThatWasEditedIsAConflict)
{
    SyncWorld world(Mode::Product);
    auto& client = world.client;
    world.writeOnServer("f.bin", bytes(whole), at(0));
    leavePart(world, mebibyte);
    client.local.write("f.bin", bytes(mebibyte) + "edited", at(5000));
    client.conf->setConflict("none");
    client.sync();
    EXPECT_EQ(world.requests("GET") + world.requests("PUT") + world.requests("HEAD"), 0U);
    EXPECT_EQ(client.local.content("f.bin"), bytes(mebibyte) + "edited");
    client.conf->setConflict("download");
    EXPECT_EQ(client.sync(), Outcome::finished);
    EXPECT_EQ(world.requests("HEAD"), 0U);
    EXPECT_TRUE(client.local.content("f.bin") == bytes(whole));
    world.expectSettled();
}

TEST(Resume, anotherPartThanTheOneAskedForIsNotJoined)
{
    SyncWorld world(Mode::Product);
    auto& client = world.client;
    client.reconnect.reconnect = false;
    world.writeOnServer("f.bin", bytes(whole), at(0));
    leavePart(world, 512'000);
    const fault::Status other{206, {{"Content-Range", "bytes 511999-2621439/2621440"}}, bytes(whole).substr(511'999)};
    world.server->addFault({"GET", "*", other, 1});
    EXPECT_EQ(client.sync(), Outcome::someItemsFailed);
    EXPECT_EQ(world.requests("PUT"), 0U);
    EXPECT_EQ(client.sync(), Outcome::finished);
    EXPECT_TRUE(client.local.content("f.bin") == bytes(whole));
    world.expectSettled();
}

TEST(Resume, aFileThatBecameAnotherMeanwhileIsFetchedWhole)
{
    SyncWorld world(Mode::Product);
    auto& client = world.client;
    client.reconnect.reconnect = false;
    // The part's end, which is all that the probe compares, stays the same.
    const auto after = "another" + bytes(whole).substr(7);
    world.writeOnServer("f.bin", bytes(whole), at(0));
    world.server->addFault({"GET", "*", fault::CutResponse{2 * mebibyte}, 1});
    EXPECT_EQ(client.sync(), Outcome::someItemsFailed);
    world.writeOnServer("f.bin", after, at(100));
    world.server->addFault({"GET", "*", fault::Status{403, {}, {}}, 1});
    EXPECT_EQ(client.sync(), Outcome::someItemsFailed);
    EXPECT_EQ(client.sync(), Outcome::finished);
    EXPECT_TRUE(client.local.content("f.bin") == after);
    EXPECT_EQ(world.requests("PUT"), 0U);
    world.expectSettled();
}

} // namespace
} // namespace tidemark::test
