// A file system without attributes: a part cannot be marked as one, so it must not stay.

#include <gtest/gtest.h>

#include "tests/support/Process.h"
#include "tests/transfers/Material.h"

namespace tidemark::test {
namespace {

namespace fault = devserver::fault;
using testing::CommandOutput;

/// Runs the script where `folder` is such a file system. What is in there is gone afterwards.
CommandOutput runUnmarkable(const std::string& folder, const std::string& script)
{
    return testing::runCommand({"unshare", "--user", "--map-root-user", "--mount", "sh", "-euc",
                                "mount -t ramfs none \"$1\"; local=$1; shift; " + script, "sh", folder});
}

class Unmarkable : public ::testing::TestWithParam<Kind>
{
protected:
    Unmarkable() : world(GetParam()) {}

    void SetUp() override
    {
        const auto tried = runUnmarkable(world.client.local.root(), "touch \"$local/f\"");
        if (tried.status != 0) GTEST_SKIP() << "no such file system here: " << tried.err;
        std::vector<std::string> create{TIDEMARK_PROGRAM,
                                        "config",
                                        "create",
                                        "work",
                                        "--url",
                                        world.server->url("sync"),
                                        "--local",
                                        local(),
                                        "--on-server-delete",
                                        "delete",
                                        "--on-local-delete",
                                        "delete",
                                        "--config-dir",
                                        config()};
        if (!world.key().empty()) create.push_back("--key-stdin");
        testing::requireCommand(create, world.key() + "\n");
        testing::requireCommand(
            {TIDEMARK_PROGRAM, "settings", "set", "BXSYNC_HTTP_RECONNECTION", "no", "--config-dir", config()});
        world.putOnServer("f.bin", plain, at(0));
    }
    std::string local() const { return world.client.local.root(); }
    std::string config() const { return state.path("config"); }
    std::string sync() const { return std::string(TIDEMARK_PROGRAM) + " sync work --quiet --config-dir " + config(); }
    /// After the script, which breaks a download, the next run has the whole file, and nothing went to the server.
    void expectPutRightAfter(const std::string& script)
    {
        const auto got = state.path("got");
        const auto done = runUnmarkable(local(), script + "; " + sync() + "; cp \"$local/f.bin\" " + got);
        EXPECT_EQ(done.status, 0) << done.out << done.err;
        EXPECT_TRUE(testing::readFile(got) == plain);
        EXPECT_EQ(world.requests("PUT") + world.requests("DELETE"), 0U);
        world.expectOnServer("f.bin", plain);
    }

    const std::string plain = bytes(3 * mebibyte);
    KindWorld world;
    TempTree state;
};

INSTANTIATE_TEST_SUITE_P(Servers, Unmarkable, ::testing::ValuesIn(kinds),
                         [](const auto& parameter) { return parameter.param.name; });

TEST_P(Unmarkable, aPartOfADownloadDoesNotStay)
{
    world.server->addFault({"GET", "*", fault::CutResponse{2 * mebibyte}, 1});
    expectPutRightAfter("if " + sync() + "; then exit 9; fi; test ! -e \"$local/f.bin\"");
}

TEST_P(Unmarkable, aPartLeftByAKilledProgramIsNotTakenForTheFile)
{
    world.server->addFault({"GET", "*", fault::Stall{fault::StallPlace::InResponseBody, 2 * mebibyte}, 1});
    expectPutRightAfter(sync() +
                        " & run=$!; turns=0; "
                        "until [ -s \"$local/f.bin\" ]; do turns=$((turns + 1)); [ $turns -lt 1000000 ]; done; "
                        "kill -9 $run; wait $run || true; test -s \"$local/f.bin\"");
}

} // namespace
} // namespace tidemark::test
