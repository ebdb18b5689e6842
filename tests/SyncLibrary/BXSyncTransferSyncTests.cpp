// Transfers that break, resume, or meet a folder that changes under them.

#include <filesystem>

#include <gtest/gtest.h>

#include "SyncLibrary/BXSyncInflight.h"
#include "SyncLibrary/BXSyncTransfer.h"
#include "SyncLibrary/BXSyncUtils.h"
#include "tests/support/FileSizeLimit.h"
#include "tests/support/SyncWorld.h"

namespace tidemark::test {
namespace {

using devserver::Fault;
using devserver::Mode;
using Outcome = BXSyncRunOutcome;

constexpr std::size_t mebibyte = 1024 * 1024;

/// Bytes of which no two places look alike.
std::string bytes(std::size_t count, unsigned seed = 1)
{
    std::string text(count, '\0');
    for (auto& c : text) {
        seed = seed * 1664525 + 1013904223;
        c = static_cast<char>(seed >> 24);
    }
    return text;
}

std::size_t downloadedBytes(const SyncWorld& world)
{
    std::size_t sum = 0;
    for (const auto& request : world.server->requests())
        if (request.method == "GET" && request.responseStatus < 300) sum += request.responseBodyBytes;
    return sum;
}

class TransferSync : public ::testing::TestWithParam<Mode>
{
protected:
    TransferSync() : world(GetParam()), client(world.client) { client.reconnect.reconnect = false; }

    /// The fault calls `change` while the first request of the kind is under way.
    void during(const std::string& method, const std::string& pattern, std::function<void()> change,
                std::uint64_t afterBytes = 0)
    {
        world.server->addFault({method, pattern, devserver::fault::Call{std::move(change), afterBytes}, 1});
    }

    SyncWorld world;
    SyncClient& client;
};

INSTANTIATE_TEST_SUITE_P(Servers, TransferSync, ::testing::Values(Mode::Plain, Mode::Product),
                         [](const auto& parameter) { return parameter.param == Mode::Plain ? "Plain" : "Product"; });

TEST_P(TransferSync, aDownloadCutAnywhereIsNeverTakenForTheWhole)
{
    const auto content = bytes(200'000);
    world.writeOnServer("f.bin", content, at(0));
    for (std::size_t cut = 0; cut < content.size(); cut += 37'000) {
        SCOPED_TRACE(cut);
        const auto length = world.isProduct() ? std::min<std::size_t>(cut, 37'000) : cut;
        world.server->addFault({"GET", "*", devserver::fault::CutResponse{length}, 1});
        EXPECT_EQ(client.sync(), Outcome::someItemsFailed);
        EXPECT_FALSE(client.syncInfo().contains("/f.bin"));
        EXPECT_EQ(world.requests("PUT"), 0U);
    }
    world.server->clearRequests();
    EXPECT_EQ(client.sync(), Outcome::finished);
    EXPECT_EQ(client.local.content("f.bin"), content);
    EXPECT_EQ(downloadedBytes(world), world.isProduct() ? content.size() - 185'000 : content.size());
    world.expectSettled();
}

TEST_P(TransferSync, aReconnectedDownloadGoesOnWhereTheServerCan)
{
    const auto content = bytes(3 * mebibyte);
    world.writeOnServer("f.bin", content, at(0));
    client.reconnect = {true, 3, 0};
    world.server->addFault({"GET", "*", devserver::fault::CutResponse{2 * mebibyte}, 1});
    EXPECT_EQ(client.sync(), Outcome::finished);
    EXPECT_EQ(client.local.content("f.bin"), content);
    EXPECT_EQ(downloadedBytes(world), (world.isProduct() ? 3 : 5) * mebibyte);
    world.expectSettled();
}

TEST_P(TransferSync, aResponseWithoutLengthThatEndsEarlyIsCaught)
{
    world.writeOnServer("f.bin", bytes(50'000), at(0));
    world.server->addFault({"GET", "*", devserver::fault::NoContentLength{}, 1});
    world.server->addFault({"GET", "*", devserver::fault::TruncateBody{20'000}, 1});
    EXPECT_EQ(client.sync(), Outcome::someItemsFailed);
    EXPECT_EQ(client.sync(), Outcome::finished);
    EXPECT_EQ(client.local.content("f.bin"), bytes(50'000));
    world.expectSettled();
}

TEST_P(TransferSync, aFailedDownloadThatTouchedNothingLeavesTheOldFileWhole)
{
    client.local.write("f.txt", "old", at(0));
    ASSERT_EQ(client.sync(), Outcome::finished);
    world.writeOnServer("f.txt", "new", at(100));
    world.server->addFault({"GET", "*", devserver::fault::Status{404, {}, {}}, 1});
    EXPECT_EQ(client.sync(), Outcome::someItemsFailed);
    EXPECT_EQ(client.local.content("f.txt"), "old");
    EXPECT_FALSE(BXSyncUtils::isSuspendedFile(client.local.path("f.txt")));
    EXPECT_EQ(client.sync(), Outcome::finished);
    EXPECT_EQ(client.local.content("f.txt"), "new");
}

TEST_P(TransferSync, aFileThatChangesWhileItIsSentIsSentAgain)
{
    client.local.write("f.bin", bytes(400'000), at(0));
    ASSERT_EQ(client.sync(), Outcome::finished);
    client.conf->setConflict("download"); // would lose the file if the next run took it for a conflict
    for (const int seconds : {1, 100}) {
        SCOPED_TRACE(seconds);
        client.local.write("f.bin", bytes(400'000, 2), at(1000));
        during("PUT", "*", [&] { client.local.write("f.bin", bytes(400'000, 3), at(1000 + seconds)); });
        EXPECT_EQ(client.sync(), Outcome::someItemsFailed);
        EXPECT_EQ(client.manager().report().itemErrors().at("/f.bin").message, "LOCALFILE_CHANGED");
        EXPECT_EQ(client.sync(), Outcome::finished);
        EXPECT_EQ(world.remote.content("sync/f.bin"), bytes(400'000, 3));
        world.expectSettled();
        client.local.write("f.bin", "", at(0));
        ASSERT_EQ(client.sync(), Outcome::finished);
    }
}

TEST_P(TransferSync, aFileThatChangesBeforeItIsOverwrittenOrDeletedStays)
{
    client.local.make({{"a.txt", file("1", at(0))}, {"b.txt", file("1", at(0))}, {"d/c.txt", file("1", at(0))}});
    ASSERT_EQ(client.sync(), Outcome::finished);
    world.writeOnServer("a.txt", "server", at(50));
    world.remote.remove("sync/b.txt");
    world.remote.remove("sync/d");
    client.local.write("z.txt", "first of the list", at(0));
    client.conf->setServerDelete("delete");
    during("PUT", "*/z.txt", [&] {
        client.local.write("a.txt", "mine", at(70));
        client.local.write("b.txt", "mine", at(70));
        client.local.write("d/new.txt", "mine", at(70));
    });
    EXPECT_EQ(client.sync(), Outcome::someItemsFailed);
    for (const auto* path : {"a.txt", "b.txt", "d/new.txt"})
        EXPECT_EQ(client.local.content(path), "mine") << path;
    client.conf->setConflict("upload");
    EXPECT_EQ(client.sync(), Outcome::finished);
    for (const auto* path : {"sync/a.txt", "sync/b.txt", "sync/d/new.txt"})
        EXPECT_EQ(world.remote.content(path), "mine") << path;
    world.expectSettled();
}

TEST_P(TransferSync, aPartWhoseFileIsGoneIsNobodysFile)
{
    client.local.make({{"f.bin", file("old", at(0))}});
    ASSERT_EQ(client.sync(), Outcome::finished);
    world.writeOnServer("f.bin", bytes(100'000), at(100));
    world.server->addFault({"GET", "*", devserver::fault::CutResponse{40'000}, 1});
    EXPECT_EQ(client.sync(), Outcome::someItemsFailed);
    EXPECT_EQ(client.local.content("f.bin").size(), 40'000U);
    world.remote.remove("sync/f.bin");
    world.server->clearRequests();
    client.conf->setServerDelete("upload");
    EXPECT_EQ(client.sync(), Outcome::finished);
    EXPECT_EQ(world.requests("PUT"), 0U);
    EXPECT_FALSE(client.local.exists("f.bin"));
    world.expectSettled();
}

TEST_P(TransferSync, aPartThatCannotBeMarkedIsNoDeletion)
{
    // A folder of a file system that may have no attributes for users.
    std::string folder = "/dev/shm/tidemark-test-XXXXXX";
    if (!::mkdtemp(folder.data())) GTEST_SKIP() << "no memory file system";
    client.conf->setLocalPath(folder);
    const auto path = folder + "/f.bin";
    ASSERT_TRUE(fs::replaceFile(path, "old"));
    ASSERT_TRUE(fs::setModified(path, at(0)));
    const bool hasAttributes = fs::setExtendedAttribute(path, "tidemark.test", "1").has_value();
    ASSERT_EQ(client.sync(), Outcome::finished);
    const auto content = bytes(100'000);
    world.writeOnServer("f.bin", content, at(100));
    world.server->addFault({"GET", "*", devserver::fault::CutResponse{40'000}, 1});
    client.conf->setLocalDelete("delete");
    EXPECT_EQ(client.sync(), Outcome::someItemsFailed);
    EXPECT_EQ(fs::exists(path), hasAttributes);
    world.server->clearRequests();
    EXPECT_EQ(client.sync(), Outcome::finished);
    EXPECT_EQ(world.requests("DELETE"), 0U);
    EXPECT_EQ(fs::readFile(path).value_or(""), content);
    std::filesystem::remove_all(folder);
}

TEST_P(TransferSync, anEditBetweenTwoAttemptsOfADownloadStays)
{
    for (const std::uint64_t cut : {0, 40'000}) {
        SCOPED_TRACE(cut);
        const auto name = "f" + std::to_string(cut);
        client.local.write(name, "old", at(0));
        ASSERT_EQ(client.sync(), Outcome::finished);
        world.writeOnServer(name, bytes(100'000), at(100));
        if (cut == 0)
            world.server->addFault({"GET", "*", devserver::fault::Status{503, {}, {}}, 1});
        else
            world.server->addFault({"GET", "*", devserver::fault::CutResponse{cut}, 1});
        client.reconnect = {true, 3, 0};
        client.asks = true;
        client.delegate.answers = {{"RECONNECT_MESSAGE", {0, false}}, {"SYNCFILE_FAILURE", {0, false}}};
        client.delegate.onAsked = [&](const BXSyncConfirmInfo& info) {
            if (info.message == "RECONNECT_MESSAGE") client.local.write(name, "mine", at(300));
        };
        EXPECT_EQ(client.sync(), Outcome::someItemsFailed);
        EXPECT_EQ(client.local.content(name), "mine");
        client.delegate.onAsked = nullptr;
        client.conf->setConflict("upload");
        EXPECT_EQ(client.sync(), Outcome::finished);
        EXPECT_EQ(world.remote.content("sync/" + name), "mine");
    }
    world.expectSettled();
}

TEST_P(TransferSync, aFolderIsNotDeletedWithWhatOnlyItHolds)
{
    client.local.make({{"d/f.txt", file("1", at(0))}});
    ASSERT_EQ(client.sync(), Outcome::finished);
    std::filesystem::create_directory_symlink("/", client.local.path("d/link"));
    world.remote.remove("sync/d");
    client.conf->setServerDelete("delete");
    EXPECT_EQ(client.sync(), Outcome::someItemsFailed);
    EXPECT_TRUE(std::filesystem::is_symlink(client.local.path("d/link")));
}

TEST_P(TransferSync, aFileThatIsThereAgainIsNotDeletedOnTheServer)
{
    client.local.make({{"a.txt", file("1", at(0))}, {"b.txt", file("1", at(0))}});
    ASSERT_EQ(client.sync(), Outcome::finished);
    client.local.remove("a.txt");
    client.conf->setLocalDelete("delete");
    during("PROPFIND", "*/a.txt", [&] { client.local.write("a.txt", "again", at(10)); });
    EXPECT_EQ(client.sync(), Outcome::someItemsFailed);
    EXPECT_EQ(world.remote.content("sync/a.txt"), "1");
    EXPECT_EQ(client.sync(), Outcome::finished);
    EXPECT_EQ(world.remote.content("sync/a.txt"), "again");
}

TEST_P(TransferSync, nothingIsWrittenThroughAFolderThatBecameALink)
{
    const TempTree outside;
    client.local.makeFolder("d");
    world.writeOnServer("d/f.txt", "server", at(0));
    client.local.write("z.txt", "first of the list", at(0));
    during("PUT", "*/z.txt", [&] {
        client.local.remove("d");
        client.local.link(outside.root(), "d");
    });
    EXPECT_EQ(client.sync(), Outcome::someItemsFailed);
    EXPECT_EQ(client.manager().report().itemErrors().at("/d/f.txt").message, "LOCALFILE_OBSTRUCTED");
    EXPECT_TRUE(outside.read().empty());
}

TEST_P(TransferSync, aFileAndAFolderOfOneNameAreLeftToPeople)
{
    client.local.make({{"a", file("mine", at(0))}, {"b/f", file("mine", at(0))}});
    world.writeOnServer("a/f", "server", at(0));
    world.writeOnServer("b", "server", at(0));
    client.conf->setConflict("download");
    EXPECT_EQ(client.sync(), Outcome::someItemsFailed);
    EXPECT_EQ(client.local.content("a"), "mine");
    EXPECT_EQ(client.local.content("b/f"), "mine");
    EXPECT_EQ(world.remote.content("sync/a/f"), "server");
    EXPECT_EQ(world.remote.content("sync/b"), "server");
}

TEST_P(TransferSync, anInterruptedDownloadOfAProcessThatDiedIsNotUploaded)
{
    client.local.make({{"old.bin", file("old", at(0))}, {"other.bin", file("old", at(0))}});
    ASSERT_EQ(client.sync(), Outcome::finished);
    world.writeOnServer("old.bin", "whole new content", at(100));
    const auto locate = [&](const std::string& pathname) {
        return Result<std::string>(client.local.root() + pathname);
    };
    {
        BXSyncInflight dying(client.conf->syncinfoPath(), client.conf->localPath(), locate);
        dying.plan({"/old.bin", "/other.bin"});
        ASSERT_TRUE(dying.begin("/old.bin", "of another version"));
        client.local.write("old.bin", "whole n");
    }
    client.local.write("other.bin", "edited since", at(200));
    client.conf->setConflict("upload");
    EXPECT_EQ(client.sync(), Outcome::finished);
    EXPECT_EQ(client.local.content("old.bin"), "whole new content");
    EXPECT_EQ(world.remote.content("sync/other.bin"), "edited since");
    EXPECT_FALSE(fs::exists(BXSyncInflight::pathFor(client.conf->syncinfoPath())));
    world.expectSettled();
}

TEST_P(TransferSync, aFullDiskFailsTheFileWithoutReconnecting)
{
    const auto content = bytes(300'000);
    world.writeOnServer("f.bin", content, at(0));
    client.reconnect = {true, 3, 100'000};
    {
        const FileSizeLimit full(100'000);
        EXPECT_EQ(client.sync(), Outcome::someItemsFailed);
    }
    EXPECT_EQ(client.manager().report().itemErrors().at("/f.bin").message, "LOCALFILE_UNWRITABLE");
    EXPECT_EQ(client.sync(), Outcome::finished);
    EXPECT_EQ(client.local.content("f.bin"), content);
    world.expectSettled();
}

TEST_P(TransferSync, nothingIsWrittenToADeviceThatTakesTheFilesPlace)
{
    client.local.write("up.txt", "1", at(0));
    world.writeOnServer("f.bin", "server", at(0));
    during("PUT", "*", [&] { client.local.link("/dev/null", "f.bin"); });
    EXPECT_EQ(client.sync(), Outcome::someItemsFailed);
    EXPECT_EQ(client.manager().report().itemErrors().at("/f.bin").message, "LOCALFILE_OBSTRUCTED");
}

TEST_P(TransferSync, encryptedFilesComeBackAsTheyWere)
{
    for (auto* who : {&client})
        who->conf->setEncryptKey("a key of more than sixteen bytes");
    client.local.make({{"empty", file("")}, {"16", file(bytes(16))}, {"big", file(bytes(100'000))}});
    EXPECT_EQ(client.sync(), Outcome::finished);
    EXPECT_EQ(world.remote.content("sync/empty").size(), 16U);
    EXPECT_EQ(world.remote.content("sync/big").size(), 100'000U / 16 * 16 + 16);
    EXPECT_TRUE(world.server->property("sync/big", BXSyncUtils::propertyNamespace, "encryptsha"));
    SyncClient other(world.server->url("sync"));
    other.conf->setEncryptKey("a key of more than sixteen bytes");
    EXPECT_EQ(other.sync(), Outcome::finished);
    EXPECT_EQ(other.local.read(), client.local.read());
    world.expectQuiet(client);
}

struct ResumeRow
{
    const char* name;
    std::size_t partial;
    std::string cryptoFile;
    bool intact;
    /// Bytes that cross the wire for 5 MiB.
    std::size_t downloaded;
    std::optional<std::string> probe;
};

// The local part of a file was marked by an earlier run.
TEST(Resume, followsTheProbe)
{
    constexpr std::size_t whole = 5 * mebibyte;
    const ResumeRow rows[] = {
        {"under a mebibyte", 512'000, "", true, whole - 512'000, "bytes=0-511999"},
        {"over a mebibyte", 3 * mebibyte + 10, "", true, 2 * mebibyte - 10, "bytes=2097162-3145737"},
        {"whole blocks", 3 * mebibyte + 10, "2", true, 2 * mebibyte, "bytes=2097162-3145737"},
        {"crypto server", 512'000, "1", true, whole, std::nullopt},
        {"other bytes", 512'000, "", false, whole, "bytes=0-511999"},
        {"empty", 0, "", true, whole, std::nullopt},
        {"complete", whole, "", true, whole, "bytes=4194304-5242879"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        SyncWorld world(Mode::Product, [&](auto& options) { options.product.cryptoFile = row.cryptoFile; });
        const auto content = bytes(whole);
        world.writeOnServer("f.bin", content, at(0));
        world.client.local.write("f.bin", row.intact ? content.substr(0, row.partial) : bytes(row.partial, 9));
        ASSERT_TRUE(BXSyncUtils::addSuspendFlag(world.client.local.path("f.bin")));
        EXPECT_EQ(world.client.sync(), Outcome::finished);
        EXPECT_EQ(world.client.local.content("f.bin"), content);
        EXPECT_EQ(downloadedBytes(world), row.downloaded);
        std::optional<std::string> probe;
        for (const auto& request : world.server->requests())
            if (request.method == "HEAD") probe = request.header("X-BX-Partial-MD5");
        EXPECT_EQ(probe, row.probe);
        world.expectSettled();
    }
}

TEST(Resume, aShorterRangeOfTheServerCutsTheFile)
{
    SyncWorld world(Mode::Product, [](auto& options) { options.product.probeLimit = 1000; });
    const auto content = bytes(100'000);
    world.writeOnServer("f.bin", content, at(0));
    world.client.local.write("f.bin", content.substr(0, 50'000));
    ASSERT_TRUE(BXSyncUtils::addSuspendFlag(world.client.local.path("f.bin")));
    EXPECT_EQ(world.client.sync(), Outcome::finished);
    EXPECT_EQ(world.client.local.content("f.bin"), content);
    EXPECT_EQ(downloadedBytes(world), 99'000U);
}

TEST(Inflight, suspectsWhatTheRecordCannotClear)
{
    TempTree folder(
        {{"begun", file("old")}, {"untouched", file("old")}, {"edited", file("old")}, {"done", file("old")}});
    TempTree state;
    const auto psi = state.path("x.psi");
    const auto locate = [&](const std::string& pathname) { return Result<std::string>(folder.root() + pathname); };
    const auto die = [&] {
        BXSyncInflight dying(psi, folder.root(), locate, "start-1");
        dying.plan({"/done", "/begun", "/untouched", "/edited", "/absent"});
        ASSERT_TRUE(dying.begin("/done"));
        folder.write("done", "new content");
        ASSERT_TRUE(dying.end(true));
        ASSERT_TRUE(dying.begin("/begun", "3 1600000000"));
        folder.write("begun", "ne");
    };
    die();
    folder.write("edited", "mine");
    EXPECT_EQ(BXSyncInflight::recover(psi, locate, "start-1").value(), std::vector<std::string>{"/begun"});
    EXPECT_TRUE(BXSyncUtils::isSuspendedFile(folder.path("begun")));
    EXPECT_EQ(fs::extendedAttribute(folder.path("begun"), BXSyncUtils::partVersionAttribute), "3 1600000000");
    EXPECT_TRUE(BXSyncInflight::recover(psi, locate, "start-1").value().empty());
    // After a loss of power the later lines may be missing.
    folder.make({{"begun", file("old")}, {"done", file("old")}});
    die();
    folder.write("untouched", "half");
    EXPECT_TRUE(BXSyncInflight::recover(psi, locate, "start-2", 0).value().empty()) << "changed since the start";
    folder.make({{"begun", file("old")}, {"done", file("old")}, {"untouched", file("old")}});
    die();
    folder.write("untouched", "half");
    EXPECT_EQ(BXSyncInflight::recover(psi, locate, "start-2", 1e12).value(),
              (std::vector<std::string>{"/done", "/begun", "/untouched"}));
    {
        BXSyncInflight finished(psi, folder.root(), locate, "start-1");
        ASSERT_TRUE(finished.begin("/edited"));
        // As long as half of it is neither marked nor gone it stays on record.
        folder.write("edited", "ha");
        EXPECT_FALSE(finished.end(false));
        ASSERT_TRUE(BXSyncUtils::addSuspendFlag(folder.path("edited")));
        ASSERT_TRUE(finished.end(false));
    }
    EXPECT_FALSE(fs::exists(BXSyncInflight::pathFor(psi)));
}

TEST(TransferNames, thatWindowsServersCannotHold)
{
    for (const auto* name :
         {"CON", "con.txt", "aux", "LPT1", "com9.tar.gz", "CLOCK$", "a?b", "a:b", "x.", "x ", "a\tb"})
        EXPECT_TRUE(BXSyncTransfer::isUnusableOnWindows(name)) << name;
    for (const auto* name : {"CONS", "a.b", "com", "COM10", "x. y", "gr\u00fc\u00df", "\u65e5\u672c"})
        EXPECT_FALSE(BXSyncTransfer::isUnusableOnWindows(name)) << name;
    for (const auto* platform : {"w", "u"}) {
        SyncWorld world(Mode::Product, [&](auto& options) { options.product.platform = platform; });
        world.client.local.make({{"aux", file("1")}, {"b.txt", file("1")}});
        const bool windows = platform == std::string("w");
        EXPECT_EQ(world.client.sync(), windows ? Outcome::someItemsFailed : Outcome::finished);
        EXPECT_EQ(world.requests("PUT"), windows ? 1U : 2U);
    }
}

} // namespace
} // namespace tidemark::test
