#include "app/cli/JsonOutput.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "SyncLibrary/BXSyncFileDataInfo.h"

namespace tidemark::cli {
namespace {

using Json = nlohmann::json;

BXSyncFileDataInfo record(std::int64_t state, double date, double otherDate, std::int64_t size)
{
    BXSyncFileDataInfo info;
    info.fileData = {"/a/b.txt", date};
    info.oldDateLastModified = otherDate;
    info.size = size;
    info.state = state;
    return info;
}

TEST(SyncItem, RecordsBecomeItemsWithEachSidesTime)
{
    const auto up = syncItem(record(SyncState::up | SyncState::newer, 2000, 1000, 5));
    EXPECT_EQ(up->direction, Direction::up);
    EXPECT_EQ(up->change, Change::updated);
    EXPECT_EQ(up->localTime, 2000);
    EXPECT_EQ(up->serverTime, 1000);

    const auto down = syncItem(record(SyncState::down | SyncState::added, 2000, 0, 5));
    EXPECT_EQ(down->direction, Direction::down);
    EXPECT_EQ(down->change, Change::created);
    EXPECT_EQ(down->serverTime, 2000);
    EXPECT_EQ(down->localTime, std::nullopt);

    const auto gone = syncItem(record(SyncState::up | SyncState::deleted, 0, 1000, 5));
    EXPECT_EQ(gone->change, Change::deleted);
    EXPECT_EQ(gone->localTime, std::nullopt);
    EXPECT_EQ(gone->serverTime, 1000);

    const auto folder = syncItem(record(SyncState::conflict | SyncState::older | SyncState::folder, 2000, 1000, -1));
    EXPECT_EQ(folder->direction, Direction::conflict);
    EXPECT_TRUE(folder->folder);
    EXPECT_EQ(folder->size, 0);

    EXPECT_FALSE(syncItem(record(SyncState::up | SyncState::unchanged, 2000, 1000, 5)));
    EXPECT_FALSE(syncItem(record(SyncState::added, 2000, 1000, 5)));
}

TEST(JsonOutput, OutcomesHaveEveryMember)
{
    SyncItem item{"/a\n\xff.txt", Direction::conflict, Change::updated, false,   12,
                  1763202030,     std::nullopt,        false,           "locked"};
    const auto document =
        Json::parse(cli::json::outcomes({{"work", ExitStatus::itemsFailed, {item}}, {"play", {}, {}}}));
    const auto expected = Json{{"path", "/a\n\xEF\xBF\xBD.txt"},
                               {"direction", "conflict"},
                               {"kind", "updated"},
                               {"folder", false},
                               {"size", 12},
                               {"localTime", "2025-11-15T10:20:30Z"},
                               {"serverTime", nullptr},
                               {"finished", false},
                               {"error", "locked"}};
    EXPECT_EQ(document, (Json{{"configurations",
                               {{{"name", "work"}, {"status", "items-failed"}, {"items", {expected}}},
                                {{"name", "play"}, {"status", "done"}, {"items", Json::array()}}}}}));
}

TEST(JsonOutput, SummaryCountsDirections)
{
    const SyncItem up{.path = "/a", .direction = Direction::up};
    const SyncItem down{.path = "/b", .direction = Direction::down};
    EXPECT_EQ(summary({}), "nothing to do");
    EXPECT_EQ(summary({up, up, down}), "2 up, 1 down");
}

} // namespace
} // namespace tidemark::cli
