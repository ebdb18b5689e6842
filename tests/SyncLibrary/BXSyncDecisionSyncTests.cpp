// Every row of what a run does about a change, in each mode with each policy, on both kinds of server.

#include <gtest/gtest.h>

#include "tests/support/SyncWorld.h"

namespace tidemark::test {
namespace {

using devserver::Mode;

enum class Happening
{
    newLocally,
    updatedLocally,
    newOnServer,
    updatedOnServer,
    updatedOnBoth,
    deletedLocally,
    deletedOnServer,
    deletedOnBoth,
    updatedLocallyDeletedOnServer,
    deletedLocallyUpdatedOnServer
};

constexpr const char* gone = "-";

struct Row
{
    const char* name;
    Happening happening;
    SyncMode mode;
    /// Policies for conflicts, local deletions and server deletions; the row's own kind is the one that counts.
    const char* policy;
    /// What both sides hold afterwards.
    const char* local;
    const char* remote;
    /// The answer to a question, where there is somebody to ask.
    std::optional<std::int64_t> answer = {};
    BXSyncRunOutcome outcome = BXSyncRunOutcome::finished;
    /// A second run has nothing to do.
    bool quiet = true;
};

void PrintTo(const Row& row, std::ostream* out)
{
    *out << row.name;
}

constexpr auto two = SyncMode::twoWay;
constexpr auto up = SyncMode::uploadOnly;
constexpr auto down = SyncMode::downloadOnly;
constexpr auto cancelled = BXSyncRunOutcome::cancelled;
constexpr auto someFailed = BXSyncRunOutcome::someItemsFailed;

const Row rows[] = {
    {"newLocally", Happening::newLocally, two, "confirm", "local", "local"},
    {"newLocallyUpload", Happening::newLocally, up, "confirm", "local", "local"},
    {"newLocallyDownload", Happening::newLocally, down, "confirm", "local", gone},
    {"updatedLocally", Happening::updatedLocally, two, "confirm", "local", "local"},
    {"updatedLocallyUpload", Happening::updatedLocally, up, "confirm", "local", "local"},
    {"updatedLocallyDownload", Happening::updatedLocally, down, "confirm", "local", "old"},
    {"newOnServer", Happening::newOnServer, two, "confirm", "server", "server"},
    {"newOnServerUpload", Happening::newOnServer, up, "confirm", gone, "server"},
    {"newOnServerDownload", Happening::newOnServer, down, "confirm", "server", "server"},
    {"updatedOnServer", Happening::updatedOnServer, two, "confirm", "server", "server"},
    {"updatedOnServerUpload", Happening::updatedOnServer, up, "confirm", "old", "server"},
    {"updatedOnServerDownload", Happening::updatedOnServer, down, "confirm", "server", "server"},

    {"conflictUpload", Happening::updatedOnBoth, two, "upload", "local", "local"},
    {"conflictDownload", Happening::updatedOnBoth, two, "download", "server", "server"},
    {"conflictNone", Happening::updatedOnBoth, two, "none", "local", "server", {}, someFailed, false},
    {"conflictUnasked", Happening::updatedOnBoth, two, "confirm", "server", "server"},
    {"conflictRecent", Happening::updatedOnBoth, two, "confirm", "server", "server", 0},
    {"conflictAskedUpload", Happening::updatedOnBoth, two, "confirm", "local", "local", 1},
    {"conflictAskedDownload", Happening::updatedOnBoth, two, "confirm", "server", "server", 2},
    {"conflictCancel", Happening::updatedOnBoth, two, "confirm", "local", "server", 3, cancelled, false},
    {"conflictInUpload", Happening::updatedOnBoth, up, "download", "local", "local"},
    {"conflictInDownload", Happening::updatedOnBoth, down, "upload", "server", "server"},

    {"localDelete", Happening::deletedLocally, two, "delete", gone, gone},
    {"localDeleteDownload", Happening::deletedLocally, two, "download", "old", "old"},
    {"localDeleteNone", Happening::deletedLocally, two, "none", gone, "old", {}, BXSyncRunOutcome::finished, false},
    {"localDeleteUnasked", Happening::deletedLocally, two, "confirm", gone, gone},
    {"localDeleteAskedDelete", Happening::deletedLocally, two, "confirm", gone, gone, 1},
    {"localDeleteAskedDownload", Happening::deletedLocally, two, "confirm", "old", "old", 0},
    {"localDeleteCancel", Happening::deletedLocally, two, "confirm", gone, "old", 3, cancelled, false},
    {"localDeleteUp", Happening::deletedLocally, up, "delete", gone, gone},
    {"localDeleteUpNone", Happening::deletedLocally, up, "none", gone, "old"},
    {"localDeleteUpUnasked", Happening::deletedLocally, up, "confirm", gone, "old"},
    {"localDeleteUpAskedNothing", Happening::deletedLocally, up, "confirm", gone, "old", 2},
    {"localDeleteUpAskedDelete", Happening::deletedLocally, up, "confirm", gone, gone, 1},
    {"localDeleteInDownload", Happening::deletedLocally, down, "delete", gone, "old"},

    {"serverDelete", Happening::deletedOnServer, two, "delete", gone, gone},
    {"serverDeleteUpload", Happening::deletedOnServer, two, "upload", "old", "old"},
    {"serverDeleteNone", Happening::deletedOnServer, two, "none", "old", gone, {}, BXSyncRunOutcome::finished, false},
    {"serverDeleteUnasked", Happening::deletedOnServer, two, "confirm", gone, gone},
    {"serverDeleteAskedDelete", Happening::deletedOnServer, two, "confirm", gone, gone, 1},
    {"serverDeleteAskedUpload", Happening::deletedOnServer, two, "confirm", "old", "old", 0},
    {"serverDeleteCancel", Happening::deletedOnServer, two, "confirm", "old", gone, 3, cancelled, false},
    {"serverDeleteInUpload", Happening::deletedOnServer, up, "delete", "old", gone},
    {"serverDeleteDown", Happening::deletedOnServer, down, "delete", gone, gone},
    {"serverDeleteDownNone",
     Happening::deletedOnServer,
     down,
     "none",
     "old",
     gone,
     {},
     BXSyncRunOutcome::finished,
     false},
    {"serverDeleteDownUnasked", Happening::deletedOnServer, down, "confirm", "old", gone},
    {"serverDeleteDownAskedNothing", Happening::deletedOnServer, down, "confirm", "old", gone, 2},
    {"serverDeleteDownAskedDelete", Happening::deletedOnServer, down, "confirm", gone, gone, 1},

    {"deletedOnBoth", Happening::deletedOnBoth, two, "confirm", gone, gone},
    {"updatedHereDeletedThere", Happening::updatedLocallyDeletedOnServer, two, "confirm", "local", "local"},
    {"updatedHereDeletedThereDownload",
     Happening::updatedLocallyDeletedOnServer,
     two,
     "download",
     "local",
     gone,
     {},
     someFailed,
     false},
    {"deletedHereUpdatedThereRestore", Happening::deletedLocallyUpdatedOnServer, two, "download", "server", "server"},
};

using Parameter = std::tuple<Row, Mode>;

class DecisionSync : public ::testing::TestWithParam<Parameter>
{
protected:
    DecisionSync() : world_(std::get<1>(GetParam())) {}

    void startFromOneFile()
    {
        auto& client = world_.client;
        client.local.write("d/keep.txt", "keep", at(0));
        if (hadFile()) client.local.write("d/f.txt", "old", at(0));
        ASSERT_EQ(client.sync(), BXSyncRunOutcome::finished);
        world_.expectSettled();
    }

    void happen()
    {
        auto& local = world_.client.local;
        switch (row().happening) {
        case Happening::newLocally:
        case Happening::updatedLocally:
            return local.write("d/f.txt", "local", at(100));
        case Happening::newOnServer:
        case Happening::updatedOnServer:
            return world_.writeOnServer("d/f.txt", "server", at(200));
        case Happening::updatedOnBoth:
            local.write("d/f.txt", "local", at(100));
            return world_.writeOnServer("d/f.txt", "server", at(200));
        case Happening::deletedLocally:
            return local.remove("d/f.txt");
        case Happening::deletedOnServer:
            return world_.remote.remove("sync/d/f.txt");
        case Happening::deletedOnBoth:
            local.remove("d/f.txt");
            return world_.remote.remove("sync/d/f.txt");
        case Happening::updatedLocallyDeletedOnServer:
            local.write("d/f.txt", "local", at(100));
            return world_.remote.remove("sync/d/f.txt");
        case Happening::deletedLocallyUpdatedOnServer:
            local.remove("d/f.txt");
            return world_.writeOnServer("d/f.txt", "server", at(200));
        }
    }

    void configure()
    {
        auto& client = world_.client;
        client.conf->setMode(row().mode);
        client.conf->setConflict(row().policy);
        client.conf->setLocalDelete(row().policy);
        client.conf->setServerDelete(row().policy);
        client.asks = row().answer.has_value();
        if (!row().answer) return;
        for (const auto* key : {"FILE_CONFILCT", "DELETE_SERVER", "DELETE_LOCAL"})
            client.delegate.answers[key] = {*row().answer, false};
    }

    bool hadFile() const
    {
        return row().happening != Happening::newLocally && row().happening != Happening::newOnServer;
    }
    const Row& row() const { return std::get<0>(GetParam()); }
    static std::string contentOf(const TempTree& tree, const std::string& path)
    {
        return tree.exists(path) ? tree.content(path) : gone;
    }

    SyncWorld world_;
};

TEST_P(DecisionSync, bothSidesEndAsTheRowSays)
{
    startFromOneFile();
    happen();
    configure();
    const auto before = world_.client.syncInfo();
    EXPECT_EQ(world_.client.sync(), row().outcome);
    EXPECT_EQ(contentOf(world_.client.local, "d/f.txt"), row().local);
    EXPECT_EQ(contentOf(world_.remote, "sync/d/f.txt"), row().remote);
    EXPECT_EQ(contentOf(world_.remote, "sync/d/keep.txt"), "keep");
    EXPECT_EQ(world_.client.delegate.asked.size(), row().answer ? 1U : 0U);
    if (row().outcome != BXSyncRunOutcome::finished) {
        EXPECT_EQ(world_.client.syncInfo(), before);
    }
    if (row().quiet) world_.expectQuiet(world_.client);
    if (row().quiet && row().mode == two) world_.expectSettled();
}

std::string nameOf(const ::testing::TestParamInfo<Parameter>& info)
{
    return std::string(std::get<0>(info.param).name) + (std::get<1>(info.param) == Mode::Plain ? "Plain" : "Product");
}

INSTANTIATE_TEST_SUITE_P(Rows, DecisionSync,
                         ::testing::Combine(::testing::ValuesIn(rows), ::testing::Values(Mode::Plain, Mode::Product)),
                         nameOf);

} // namespace
} // namespace tidemark::test
