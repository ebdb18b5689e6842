#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "config/BXSyncSchedule.h"
#include "config/BXSyncTask.h"
#include "platform/Localization.h"

namespace tidemark {
namespace {

TEST(ScheduleTest, TextsOfThreePartsAreRead)
{
    const std::pair<const char*, const char*> cases[] = {
        {"-1:-1:15", "-1:-1:15"}, {"2:9:0", "2:9:0"},   {"1:2", "-1:-1:0"},    {"1:2:3:4", "-1:-1:0"},
        {"", "-1:-1:0"},          {"x:5:30", "0:5:30"}, {" 3:+4:5m", "3:4:5"}, {"::", "0:0:0"},
    };
    for (const auto& [text, saved] : cases)
        EXPECT_EQ(BXSyncSchedule(text).saveString(), saved) << text;
}

TEST(ScheduleTest, MinusOneAgreesWithEverythingOnEitherSide)
{
    EXPECT_TRUE(BXSyncSchedule(-1, -1, 15).matchUpWeek(4, 23, 15));
    EXPECT_FALSE(BXSyncSchedule(-1, -1, 15).matchUpWeek(4, 23, 16));
    EXPECT_TRUE(BXSyncSchedule(2, 9, 0).matchUpWeek(2, 9, 0));
    EXPECT_FALSE(BXSyncSchedule(2, 9, 0).matchUpWeek(3, 9, 0));
    EXPECT_FALSE(BXSyncSchedule(2, 9, 0).matchUpWeek(2, 8, 0));
    EXPECT_TRUE(BXSyncSchedule(2, 9, 0).matchUpWeek(-1, -1, 0));
    EXPECT_FALSE(BXSyncSchedule("x:5:30").matchUpWeek(1, 5, 30));
}

TEST(ScheduleTest, EveryDayAndEveryHourSortFirst)
{
    const std::vector<BXSyncSchedule> mixed{{2, 9, 0}, {2, -1, 30}, {-1, 23, 0}, {2, 9, -5}, {-1, -1, 59}, {1, 0, 0}};
    std::vector<std::string> sorted;
    for (const auto& schedule : BXSyncSchedule::sortSchedule(mixed))
        sorted.push_back(schedule.saveString());
    EXPECT_THAT(sorted, ::testing::ElementsAre("-1:-1:59", "-1:23:0", "1:0:0", "2:-1:30", "2:9:-5", "2:9:0"));
}

TEST(ScheduleTest, PeopleReadWords)
{
    const auto text = [](const char* key) { return Localization::text("Schedule", key); };
    ASSERT_NE(text("WEDNESDAY"), "");
    EXPECT_TRUE(BXSyncSchedule(4, -1, 5).showString().starts_with(text("WEDNESDAY") + " " + text("HOURLY") + " "));
    EXPECT_TRUE(BXSyncSchedule("x:5:30").showString().starts_with(text("EVERYDAY") + " "));
    const auto shown = BXSyncSchedule(1, 17, 42).showString();
    EXPECT_NE(shown.find("17"), std::string::npos) << shown;
    EXPECT_NE(shown.find("42"), std::string::npos) << shown;
    EXPECT_EQ(shown.find('%'), std::string::npos) << shown;
}

TEST(ScheduleTest, ValuesAreCopiedWithoutTheMark)
{
    BXSyncSchedule from(1, 2, 3);
    from.setExecuted(true);
    BXSyncSchedule to;
    to.setScheduleValue(from);
    EXPECT_EQ(to.saveString(), "1:2:3");
    EXPECT_FALSE(to.executed());
}

TEST(TaskTest, WhatIsQueuedAlready)
{
    struct Case
    {
        const char* what;
        BXSyncTask queued;
        BXSyncTask added;
        bool contained;
    };
    const auto task = [](const char* name, bool automatic = false, bool listup = false, bool finished = false) {
        BXSyncTask made;
        made.name = name;
        made.autoSync = automatic;
        made.listup = listup;
        made.finished = finished;
        return made;
    };
    const Case cases[] = {
        {"a full run twice", task("a"), task("a"), true},
        {"automatic behind full", task("a"), task("a", true), true},
        {"full behind automatic", task("a", true), task("a"), false},
        {"automatic twice", task("a", true), task("a", true), true},
        {"another name", task("b"), task("a"), false},
        {"a listing beside a run", task("a"), task("a", false, true), false},
        {"a finished one", task("a", false, false, true), task("a"), false},
        {"without a name", task(""), task(""), false},
    };
    for (const auto& [what, queued, added, contained] : cases)
        EXPECT_EQ(BXSyncTask::containTask({std::make_shared<BXSyncTask>(queued)}, added), contained) << what;
    EXPECT_FALSE(BXSyncTask::containTask({}, task("a")));
}

} // namespace
} // namespace tidemark
