// Transfers that break anywhere: no side ever takes a part for the whole, and the next run puts it right.

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "SyncLibrary/BXSyncUtils.h"
#include "tests/support/FileSizeLimit.h"
#include "tests/support/Process.h"
#include "tests/transfers/Material.h"

namespace tidemark::test {
namespace {

using devserver::Fault;
namespace fault = devserver::fault;
using Outcome = BXSyncRunOutcome;

/// Every 64 KiB of a mebibyte, and where blocks begin and end.
std::vector<std::size_t> cuts()
{
    std::vector<std::size_t> places{1, 15, 16, 17, 32'767, 100'003, mebibyte - 17, mebibyte - 1};
    for (std::size_t place = 0; place < mebibyte; place += 64 * kibibyte)
        places.push_back(place);
    return places;
}

class Cuts : public ::testing::TestWithParam<Kind>
{
protected:
    Cuts() : world(GetParam()), client(world.client) {}

    std::string messageOf(const std::string& pathname)
    {
        const auto& errors = client.manager().report().itemErrors();
        const auto found = errors.find(pathname);
        return found == errors.end() ? "" : found->second.message;
    }
    bool isMarked(const std::string& path) { return BXSyncUtils::isSuspendedFile(client.local.path(path)); }
    /// The next run has the new content on both sides.
    void expectPutRight(const std::string& plain)
    {
        EXPECT_EQ(client.sync(), Outcome::finished);
        EXPECT_TRUE(client.local.content("f.bin") == plain);
        world.expectOnServer("f.bin", plain);
        EXPECT_FALSE(isMarked("f.bin"));
    }

    KindWorld world;
    SyncClient& client;
};

INSTANTIATE_TEST_SUITE_P(Servers, Cuts, ::testing::ValuesIn(kinds),
                         [](const auto& parameter) { return parameter.param.name; });

TEST_P(Cuts, aDownload)
{
    world.putOnServer("f.bin", bytes(1000), at(0));
    ASSERT_EQ(client.sync(), Outcome::finished);
    unsigned version = 1;
    for (const auto place : cuts()) {
        SCOPED_TRACE(place);
        const auto before = client.local.content("f.bin");
        const auto after = bytes(mebibyte, ++version);
        world.putOnServer("f.bin", after, at(static_cast<int>(version) * 100));
        world.server->clearRequests();
        world.server->addFault({"GET", "*", fault::CutResponse{place}, 1});
        EXPECT_EQ(client.sync(), Outcome::someItemsFailed);
        EXPECT_EQ(messageOf("/f.bin"), "CONNECTION_ERROR");
        EXPECT_TRUE(isMarked("f.bin") || client.local.content("f.bin") == before);
        expectPutRight(after);
        EXPECT_EQ(world.requests("PUT"), 0U);
    }
    world.expectBoth({{"f.bin", bytes(mebibyte, version)}});
}

TEST_P(Cuts, anUpload)
{
    client.local.write("f.bin", bytes(1000), at(0));
    ASSERT_EQ(client.sync(), Outcome::finished);
    auto before = bytes(1000);
    unsigned version = 1;
    for (const auto place : cuts()) {
        SCOPED_TRACE(place);
        const auto after = bytes(mebibyte, ++version);
        client.local.write("f.bin", after, at(static_cast<int>(version) * 100));
        world.server->addFault({"PUT", "*", fault::CutRequest{place}, 1});
        EXPECT_EQ(client.sync(), Outcome::someItemsFailed);
        EXPECT_EQ(messageOf("/f.bin"), "CONNECTION_ERROR");
        world.expectOnServer("f.bin", before);
        EXPECT_TRUE(client.local.content("f.bin") == after);
        expectPutRight(after);
        before = after;
    }
    world.expectBoth({{"f.bin", before}});
}

// The server has it, and the client does not know.
TEST_P(Cuts, anAnswerThatIsLost)
{
    client.conf->setConflict("upload");
    client.local.write("f.bin", bytes(1000), at(0));
    for (const auto* method : {"PUT", "PROPPATCH"}) {
        SCOPED_TRACE(method);
        client.local.write("f.bin", bytes(1000, 2), client.local.time("f.bin") + 100);
        world.server->addFault({method, "*", fault::DropResponse{}, 1});
        client.sync();
        expectPutRight(bytes(1000, 2));
    }
    client.sync();
    world.expectBoth({{"f.bin", bytes(1000, 2)}});
}

TEST_P(Cuts, aFullDisk)
{
    const auto content = bytes(300'000);
    world.putOnServer("f.bin", content, at(0));
    // The last byte of all is written when the stream is closed.
    for (const std::size_t room : {std::size_t{20'000}, std::size_t{262'144}, content.size() - 1}) {
        SCOPED_TRACE(room);
        {
            const FileSizeLimit full(room);
            EXPECT_EQ(client.sync(), Outcome::someItemsFailed);
        }
        EXPECT_EQ(messageOf("/f.bin"), "LOCALFILE_UNWRITABLE");
        EXPECT_TRUE(!client.local.exists("f.bin") || isMarked("f.bin"));
        EXPECT_FALSE(client.syncInfo().contains("/f.bin"));
    }
    expectPutRight(content);
    EXPECT_EQ(world.requests("PUT"), 0U);
    world.expectBoth({{"f.bin", content}});
}

/// A program that runs from the file, which nobody may write then, whatever his rights.
class RunningProgram
{
public:
    explicit RunningProgram(std::string path)
    {
        std::string arguments[] = {std::move(path), "-f", "/dev/null"};
        char* const pointers[] = {arguments[0].data(), arguments[1].data(), arguments[2].data(), nullptr};
        EXPECT_EQ(::posix_spawn(&pid_, pointers[0], nullptr, nullptr, pointers, environ), 0);
    }
    ~RunningProgram()
    {
        if (pid_ <= 0) return;
        ::kill(pid_, SIGKILL);
        ::waitpid(pid_, nullptr, 0);
    }
    RunningProgram(const RunningProgram&) = delete;
    RunningProgram& operator=(const RunningProgram&) = delete;

private:
    pid_t pid_ = -1;
};

TEST_P(Cuts, aTargetThatCannotBeWrittenStaysAsItIs)
{
    const auto program = testing::readFile(std::filesystem::canonical("/usr/bin/tail"));
    client.local.write("f.bin", program, at(0));
    std::filesystem::permissions(client.local.path("f.bin"), std::filesystem::perms::all);
    client.local.write("g.bin", "1", at(0));
    ASSERT_EQ(client.sync(), Outcome::finished);
    world.putOnServer("f.bin", bytes(5000), at(100));
    world.putOnServer("g.bin", "2", at(100));
    {
        const RunningProgram busy(client.local.path("f.bin"));
        EXPECT_EQ(client.sync(), Outcome::someItemsFailed);
    }
    EXPECT_EQ(messageOf("/f.bin"), "LOCALFILE_UNWRITABLE");
    EXPECT_TRUE(client.local.content("f.bin") == program);
    EXPECT_FALSE(isMarked("f.bin"));
    EXPECT_EQ(client.local.content("g.bin"), "2");
    expectPutRight(bytes(5000));
}

TEST_P(Cuts, aNameThatTheDiskCannotHold)
{
    const std::string name(300, 'x');
    world.putOnServer("f.bin", bytes(100), at(0));
    world.server->addFault({"PROPFIND", "*", fault::AddEntry{"/dav/sync/" + name, false, 16}, 1});
    world.server->addFault({"GET", "*/xxx*", fault::Status{200, {}, bytes(16)}, Fault::forever});
    EXPECT_EQ(client.sync(), Outcome::someItemsFailed);
    EXPECT_NE(messageOf("/" + name), "");
    expectPutRight(bytes(100));
    world.expectBoth({{"f.bin", bytes(100)}});
}

struct Change
{
    const char* name;
    std::function<void(TempTree&)> make;
};

// Larger than what a connection takes in before the server reads.
constexpr std::size_t sentSize = 24 * mebibyte;

const Change changes[] = {
    {"becomes shorter", [](TempTree& local) { std::filesystem::resize_file(local.path("f.bin"), mebibyte); }},
    {"becomes empty", [](TempTree& local) { std::filesystem::resize_file(local.path("f.bin"), 0); }},
    {"grows",
     [](TempTree& local) { std::ofstream(local.path("f.bin"), std::ios::app | std::ios::binary) << bytes(5000); }},
    {"is written anew", [](TempTree& local) { local.write("f.bin", bytes(sentSize, 9)); }},
    {"is deleted", [](TempTree& local) { local.remove("f.bin"); }},
};

// The server never gets to hold what is neither the old nor the new file.
TEST_P(Cuts, aFileThatChangesWhileItIsSent)
{
    for (const auto& change : changes) {
        SCOPED_TRACE(change.name);
        client.local.write("f.bin", bytes(1000), at(0));
        ASSERT_EQ(client.sync(), Outcome::finished);
        client.local.write("f.bin", bytes(sentSize), at(1000));
        world.server->addFault({"PUT", "*", fault::Call{[&] { change.make(client.local); }, 200'000}, 1});
        EXPECT_EQ(client.sync(), Outcome::someItemsFailed);
        EXPECT_EQ(messageOf("/f.bin"), "LOCALFILE_CHANGED");
        // The run may see the change before it is complete.
        ASSERT_TRUE(world.server->waitUntilIdle());
        world.expectOnServer("f.bin", bytes(1000));
        if (client.local.exists("f.bin"))
            expectPutRight(client.local.content("f.bin"));
        else {
            client.conf->setLocalDelete("delete");
            EXPECT_EQ(client.sync(), Outcome::finished);
            EXPECT_FALSE(world.remote.exists("sync/f.bin"));
        }
    }
}

} // namespace
} // namespace tidemark::test
