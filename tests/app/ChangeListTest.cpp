#include "app/ChangeList.h"

#include <gmock/gmock.h>

namespace tidemark {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

SyncItem item(std::string path, Direction direction)
{
    return {.path = std::move(path), .direction = direction};
}

TEST(ChangeList, GroupsKeepTheirOrderAndAreFiltered)
{
    ChangeList list;
    list.setGroup("work", {item("/a", Direction::up), item("/b", Direction::down), item("/c", Direction::up)});
    list.setGroup("idle", {});
    list.setGroup("play", {item("/d", Direction::conflict)});
    EXPECT_THAT(list.shownConfigurations(), ElementsAre("work", "play"));
    EXPECT_FALSE(list.hidesSomeOfShown());

    list.setFilter([](const SyncItem& change) { return change.direction == Direction::up; });
    EXPECT_THAT(list.shownConfigurations(), ElementsAre("work"));
    EXPECT_THAT(list.groups()[0].shown, ElementsAre(0, 2));
    EXPECT_TRUE(list.hidesSomeOfShown());
    EXPECT_EQ(list.itemCount(), 4u);
    EXPECT_EQ(list.shownCount(), 2u);

    // A list that comes anew takes the old one's place, and is filtered too.
    list.setGroup("play", {item("/e", Direction::up), item("/f", Direction::down)});
    list.setGroup("work", {item("/g", Direction::down)});
    EXPECT_THAT(list.shownConfigurations(), ElementsAre("play"));
    EXPECT_THAT(list.shownGroups(), ElementsAre(1));
    list.setGroup("play", {});
    EXPECT_THAT(list.shownConfigurations(), IsEmpty());
    EXPECT_EQ(list.itemCount(), 1u);
}

} // namespace
} // namespace tidemark
