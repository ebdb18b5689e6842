// Two people change their folders at random: what the runs make of it is the same on both sides and at the server.

#include <random>

#include <gtest/gtest.h>

#include "tests/support/SyncWorld.h"

namespace tidemark::test {
namespace {

using devserver::Mode;
using Outcome = BXSyncRunOutcome;

using Names = std::vector<std::string>;
const Names fileNames{"a", "b c", "100%", "p+q", "\u00e9", "q?", "Z#z", ";s"};
const Names folderNames{"d", "\u65e5\u672c", "n&m", "[1]", "o'k"};
/// For either, so that one becomes the other.
const Names anyNames{"a", "d", "100%", "\u65e5\u672c", "q?"};

class RandomSync : public ::testing::TestWithParam<std::tuple<Mode, unsigned>>
{
protected:
    RandomSync() : random(std::get<1>(GetParam())), world(std::get<0>(GetParam())), other(world.server->url("sync"))
    {
        for (auto* person : {&world.client, &other}) {
            person->conf->setConflict("upload");
            person->conf->setLocalDelete("delete");
            person->conf->setServerDelete("delete");
        }
    }

    std::size_t below(std::size_t limit) { return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random); }
    /// The path of an entry, or "" where there is none of that kind.
    std::string anyEntry(const Tree& tree, bool folder)
    {
        Names found;
        for (const auto& [path, entry] : tree)
            if (entry.isFolder == folder) found.push_back(path);
        return found.empty() ? "" : found[below(found.size())];
    }
    std::string anyPlace(const Tree& tree, const Names& names)
    {
        const auto folder = below(3) == 0 ? "" : anyEntry(tree, true);
        return (folder.empty() ? "" : folder + "/") + names[below(names.size())];
    }
    void write(TempTree& folder, const std::string& path)
    {
        constexpr std::size_t sizes[] = {0, 1, 300, 70'000};
        ++version;
        folder.write(path, std::string(sizes[below(std::size(sizes))], static_cast<char>('a' + version % 26)),
                     at(version * 10));
    }
    void change(TempTree& folder, const Names& files, const Names& folders)
    {
        const auto tree = folder.read();
        const bool isFolder = below(4) == 0;
        const auto place = anyPlace(tree, isFolder ? folders : files);
        const auto entry = anyEntry(tree, isFolder);
        const auto found = tree.find(place);
        switch (below(4)) {
        case 0:
            if (!entry.empty()) folder.remove(entry);
            break;
        case 1:
            if (!entry.empty() && found == tree.end() && !place.starts_with(entry + "/")) folder.move(entry, place);
            break;
        default:
            // In place of a folder only where the names say that kinds change.
            if (found != tree.end() && found->second.isFolder != isFolder) folder.remove(place);
            if (isFolder)
                folder.makeFolder(place);
            else
                write(folder, place);
        }
    }
    /// The runs that follow have both sides and the server agree, and then find nothing to do.
    void expectAgreement()
    {
        for (int turn = 0; turn < 4; ++turn) {
            const bool done = world.client.sync() == Outcome::finished && other.sync() == Outcome::finished;
            const auto shared = readTree(world.remote.path("sync"));
            if (done && world.client.local.read() == shared && other.local.read() == shared) break;
        }
        EXPECT_EQ(world.client.local.read(), readTree(world.remote.path("sync")));
        EXPECT_EQ(other.local.read(), readTree(world.remote.path("sync")));
        EXPECT_EQ(world.client.sync(), Outcome::finished);
        world.expectQuiet(world.client);
        world.expectQuiet(other);
    }

    std::mt19937 random;
    SyncWorld world;
    SyncClient other;
    int version = 0;
};

INSTANTIATE_TEST_SUITE_P(Seeds, RandomSync,
                         ::testing::Combine(::testing::Values(Mode::Plain, Mode::Product), ::testing::Range(1U, 5U)));

TEST_P(RandomSync, bothChange)
{
    for (int round = 0; round < 8 && !HasFailure(); ++round) {
        SCOPED_TRACE(round);
        for (auto* person : {&world.client, &other})
            for (auto changes = below(8); changes > 0; --changes)
                change(person->local, fileNames, folderNames);
        expectAgreement();
    }
}

TEST_P(RandomSync, filesBecomeFoldersAndFoldersFiles)
{
    for (int round = 0; round < 8 && !HasFailure(); ++round) {
        SCOPED_TRACE(round);
        auto& person = below(2) == 0 ? world.client : other;
        for (auto changes = below(10); changes > 0; --changes)
            change(person.local, anyNames, anyNames);
        expectAgreement();
    }
}

} // namespace
} // namespace tidemark::test
