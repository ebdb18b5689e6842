// Many runs and many events, counted: a service may stay up for months.

#include <atomic>
#include <filesystem>
#include <fstream>
#include <thread>

#include <malloc.h>

#include "tests/service/MenuWorld.h"

namespace tidemark::test {
namespace {

std::size_t openDescriptors()
{
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

constexpr std::size_t page = 4096;

std::size_t residentBytes()
{
    std::ifstream file("/proc/self/statm");
    std::size_t total = 0;
    std::size_t resident = 0;
    file >> total >> resident;
    return resident * page;
}

struct Holdings
{
    std::size_t descriptors = openDescriptors();
    std::size_t allocated = ::mallinfo2().uordblks;
    std::size_t resident = residentBytes();
};

class Endurance : public MenuWorld
{
};

TEST_F(Endurance, AThousandSequencesAndAHundredThousandEventsLeaveNothingBehind)
{
    constexpr int sequences = 1000;
    constexpr int settled = 200;
    constexpr int sendingEvery = 4;
    // Each is made, written, closed and deleted: four events.
    constexpr int passingFiles = 25;
    Holdings before;
    for (int i = 1; i <= sequences; ++i) {
        for (int n = 0; n < passingFiles; ++n) {
            const auto name = (n % 2 == 0 ? "passing " : "folder/passing ") + std::to_string(n);
            local.write(name, "p");
            local.remove(name);
        }
        // One that stays is sent, each time another content.
        if (i % sendingEvery == 0) local.write("folder/file", std::to_string(i), at(10 * i));
        run();
        // Of which it would keep a record each.
        world.server->clearRequests();
        if (i == settled) before = {};
    }
    const Holdings after;
    EXPECT_EQ(frontEnd.ended, sequences);
    EXPECT_EQ(frontEnd.failed, 0);
    EXPECT_EQ(world.remote.content("sync/folder/file"), std::to_string(sequences));
    EXPECT_TRUE(watcher->modifiedList(false).empty());

    EXPECT_LE(after.descriptors, before.descriptors + 2) << "connections come and go";
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    constexpr std::size_t mebibyte = 1024 * 1024;
    EXPECT_LT(after.allocated, before.allocated + mebibyte / 4);
    EXPECT_LT(after.resident, before.resident + 8 * mebibyte);
#endif
}

TEST_F(Endurance, AfterABurstOfTenThousandFilesOneQuietRunMakesBothSidesEqual)
{
    constexpr int files = 10'000;
    local.makeFolder("there before");
    run();
    std::atomic<bool> over = false;
    std::thread people([&] {
        for (int i = 0; i < files; ++i) {
            const bool intoNewFolders = i % 10 != 0;
            local.write((intoNewFolders ? "new " + std::to_string(i / 500) + "/sub " + std::to_string(i % 3)
                                        : std::string("there before")) +
                            "/" + std::to_string(i),
                        "");
        }
        over = true;
    });
    int runsMeanwhile = 0;
    while (!over) {
        run();
        ++runsMeanwhile;
    }
    people.join();
    run();
    EXPECT_GT(runsMeanwhile, 0);
    EXPECT_EQ(frontEnd.failed, 0);
    // Not compared by a matcher, which would print all of them.
    EXPECT_TRUE(local.read() == readTree(world.remote.path("sync")));
    EXPECT_TRUE(watcher->modifiedList(false).empty());
}

} // namespace
} // namespace tidemark::test
