// The service beside people who work in the folder: what they do arrives, and nothing else is asked of the server.

#include <fstream>

#include <gmock/gmock.h>

#include "tests/service/ServiceWorld.h"
#include "tests/support/Process.h"

namespace tidemark::test {
namespace {

using ::testing::Each;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

class AutoSyncService : public ServiceWorld
{
protected:
    /// A folder with parts that nobody will touch, in step, and watched.
    void settle(const Tree& tree)
    {
        local.make(tree);
        for (int i = 0; i < 10; ++i)
            local.write("untouched " + std::to_string(i) + "/file", "u", at(0));
        create();
        ASSERT_EQ(tidemark({"sync"}), 0) << messages;
        ASSERT_TRUE(inStep());
        start();
        server.clearRequests();
    }
    /// Both sides are equal after a run, which asked neither for the whole folder nor for what nobody touched.
    void expectArrival(const char* what)
    {
        EXPECT_TRUE(runsUntil([this] { return inStep(); })) << what << service->messages();
        EXPECT_EQ(local.read(), readTree(remote.path("sync"))) << what;
        EXPECT_THAT(asked("PROPFIND"), Not(IsEmpty())) << what;
        for (const auto* method : {"PROPFIND", "GET", "PUT", "DELETE", "MKCOL"})
            EXPECT_THAT(asked(method), Each(Not(HasSubstr("untouched")))) << what << " " << method;
        EXPECT_THAT(asked("PROPFIND"), Each(Not(::testing::MatchesRegex("/dav/sync/?")))) << what;
        server.clearRequests();
    }
};

TEST_F(AutoSyncService, SavesAsEditorsDoThem)
{
    settle({{"docs/in place.txt", file("1", at(0))}, {"docs/beside.txt", file("1", at(0))}});

    local.write("docs/in place.txt", "two", at(100));
    expectArrival("in place");

    local.write("docs/.beside.txt.swp", "two", at(100));
    local.move("docs/.beside.txt.swp", "docs/beside.txt");
    expectArrival("beside and renamed");
    EXPECT_EQ(remote.content("sync/docs/beside.txt"), "two");

    local.move("docs/in place.txt", "docs/in place.txt~");
    local.write("docs/in place.txt", "three", at(200));
    expectArrival("the old one put aside");

    std::ofstream(local.path("docs/in place.txt"), std::ios::app) << " and a half";
    expectArrival("appended");
}

TEST_F(AutoSyncService, FoldersMovedInOutAndWithinAndATreeDeleted)
{
    settle({{"here/sub/a.txt", file("a", at(0))}, {"here/sub/deep/b.txt", file("b", at(0))}, {"there", folder()}});
    TempTree elsewhere({{"guest/x/y.txt", file("y", at(5))}, {"guest/z.txt", file("z", at(5))}, {"gone", folder()}});

    std::filesystem::rename(elsewhere.path("guest"), local.path("there/guest"));
    expectArrival("moved in");
    local.write("there/guest/x/y.txt", "changed where it came to");
    expectArrival("changed after it moved in");

    local.move("here/sub", "there/sub");
    expectArrival("moved within");
    local.write("there/sub/deep/b.txt", "changed where it went");
    expectArrival("changed after it moved");

    std::filesystem::rename(local.path("there/guest"), elsewhere.path("gone/guest"));
    expectArrival("moved out");
    std::ofstream(elsewhere.path("gone/guest/z.txt")) << "of no interest any more";
    local.remove("there/sub");
    expectArrival("tree deleted");
    EXPECT_FALSE(remote.exists("sync/there/sub"));
    EXPECT_TRUE(remote.exists("sync/here"));
}

TEST_F(AutoSyncService, AnArchiveIsUnpacked)
{
    settle({{"docs", folder()}});
    TempTree packed;
    for (int i = 0; i < 2000; ++i)
        packed.write("archive/" + std::to_string(i / 100) + "/file " + std::to_string(i), std::to_string(i), at(i));
    testing::requireCommand({"tar", "-C", packed.root(), "-cf", packed.path("a.tar"), "archive"});
    testing::requireCommand({"tar", "-C", local.path("docs"), "-xf", packed.path("a.tar")});
    expectArrival("archive");
}

} // namespace
} // namespace tidemark::test
