#include "app/SyncItems.h"

#include <gmock/gmock.h>

#include "SyncLibrary/BXSyncFileDataInfo.h"
#include "app/BXSyncProgressModel.h"

namespace tidemark {
namespace {

using State = SyncItems::State;

struct SyncItemsTest : ::testing::Test
{
    std::vector<BXSyncFileDataInfo*> makeRecords(std::size_t count)
    {
        const auto first = records.size();
        std::vector<BXSyncFileDataInfo*> list;
        for (std::size_t i = 0; i < count; ++i) {
            auto record = std::make_unique<BXSyncFileDataInfo>();
            record->fileData = {"/f" + std::to_string(first + i), 1000};
            record->state = SyncState::up | SyncState::added;
            list.push_back(record.get());
            records.push_back(std::move(record));
        }
        return list;
    }
    void finish(std::size_t index, bool done = true)
    {
        records[index]->operateFinished = done;
        model.updatedFile(*records[index]);
    }
    /// Applies what is new, as a view does.
    void take()
    {
        const auto news = items.newsSince(mark);
        if (news.reset) seen.clear();
        for (const auto& list : news.lists)
            seen.resize(seen.size() + list->items.size(), State::waiting);
        for (const auto& [row, state] : news.changes)
            seen.at(row) = state;
        touched += news.changes.size();
        mark = news.mark;
    }

    std::vector<std::unique_ptr<BXSyncFileDataInfo>> records;
    SyncItems items;
    BXSyncProgressModel model;
    SyncItems::Mark mark;
    std::vector<State> seen;
    std::size_t touched = 0;
};

TEST_F(SyncItemsTest, ViewFollowsRunsThroughTheProgressModel)
{
    model.setItems(&items);
    items.beginRun("first", [](const std::string& path) { return path == "/f1" ? "locked" : ""; });
    auto list = makeRecords(3);
    list.push_back(makeRecords(1).front());
    list.back()->state = SyncState::unchanged;
    model.addSyncList(list);
    take();
    EXPECT_THAT(seen, ::testing::ElementsAre(State::underWay, State::waiting, State::waiting));

    finish(0);
    finish(1, false);
    finish(3);
    take();
    EXPECT_THAT(seen, ::testing::ElementsAre(State::done, State::notDone, State::underWay));
    EXPECT_EQ(items.reason(1), "locked");
    EXPECT_EQ(items.reason(0), "");
    items.endRun();

    items.beginRun("second");
    model.addSyncList(makeRecords(3));
    finish(4);
    items.endRun();
    take();
    EXPECT_THAT(seen, ::testing::ElementsAre(State::done, State::notDone, State::notDone, State::done, State::notDone,
                                             State::notReached));
    EXPECT_TRUE(items.newsSince(mark).empty());

    SyncItems::Mark fresh;
    const auto all = items.newsSince(fresh);
    EXPECT_FALSE(all.reset);
    ASSERT_EQ(all.lists.size(), 2u);
    EXPECT_EQ(all.lists[1]->configuration, "second");
    EXPECT_EQ(all.lists[1]->items[0].path, "/f4");
}

TEST_F(SyncItemsTest, ResetAndRecordsOfAnEndedRunAreSafe)
{
    model.setItems(&items);
    items.beginRun("first");
    model.addSyncList(makeRecords(2));
    take();
    items.resetSyncList();
    finish(0);
    items.beginRun("second");
    model.addSyncList(makeRecords(1));
    const auto before = items.changeCount();
    finish(1);
    EXPECT_EQ(items.changeCount(), before);
    take();
    EXPECT_THAT(seen, ::testing::ElementsAre(State::underWay));
    items.endRun();
    finish(2);
    take();
    EXPECT_THAT(seen, ::testing::ElementsAre(State::notDone));

    model.setItems(nullptr);
    model.addSyncList(makeRecords(1));
    EXPECT_TRUE(items.newsSince(mark).empty());
}

TEST_F(SyncItemsTest, AViewOfAHundredThousandTakesOnlyWhatChanged)
{
    model.setItems(&items);
    items.beginRun("many");
    const auto list = makeRecords(100000);
    model.addSyncList(list);
    for (std::size_t i = 0; i < list.size(); ++i) {
        finish(i);
        if (i % 1000 == 0) take();
    }
    take();
    EXPECT_EQ(seen, std::vector<State>(list.size(), State::done));
    // Each row begins once and ends once.
    EXPECT_EQ(touched, 2 * list.size());
    const auto first = items.newsSince({});
    const auto second = items.newsSince({});
    EXPECT_EQ(first.lists.front().get(), second.lists.front().get());
}

} // namespace
} // namespace tidemark
