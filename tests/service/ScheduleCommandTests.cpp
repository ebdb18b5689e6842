// The timetable as people write it on the command line.

#include <gmock/gmock.h>

#include "tests/service/ServiceWorld.h"

namespace tidemark::test {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

class ScheduleCommands : public ServiceWorld
{
protected:
    ScheduleCommands() { create(); }

    int schedule(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), {"config", "schedule", "work"});
        return tidemark(arguments);
    }
    std::string list()
    {
        EXPECT_EQ(schedule({"list"}), 0) << messages;
        return output;
    }
    /// The entries as they are stored: week, hour, minute.
    bool isStored(const std::string& entry) const
    {
        return state.content("config/work.xml").find("<string>" + entry + "</string>") != std::string::npos;
    }
};

TEST_F(ScheduleCommands, EveryFormIsStoredAndShownAsItIsWritten)
{
    struct Form
    {
        const char* written;
        const char* stored;
        const char* shown;
    };
    // In the order of the list, which is not the one in which they are added.
    const Form forms[] = {{"hourly :15", "-1:-1:15", "hourly :15"}, {"daily 18:30", "-1:18:30", "daily 18:30"},
                          {"sun 0:00", "1:0:0", "sun 0:00"},        {"mon 9:00", "2:9:0", "mon 9:00"},
                          {"TUE 09:05", "3:9:5", "tue 9:05"},       {"wed 12:30", "4:12:30", "wed 12:30"},
                          {"thu   7:7", "5:7:7", "thu 7:07"},       {"fri 23:59", "6:23:59", "fri 23:59"},
                          {"sat 18:00", "7:18:0", "sat 18:00"}};
    std::string expected;
    for (std::size_t i = std::size(forms); i-- > 0;) {
        EXPECT_EQ(schedule({"add", forms[i].written}), 0) << messages;
        EXPECT_TRUE(isStored(forms[i].stored)) << forms[i].written;
        expected = std::string(forms[i].shown) + "\n" + expected;
    }
    std::string shown;
    std::istringstream lines(list());
    for (std::string line; std::getline(lines, line);)
        shown += line.substr(line.find("  ") + 2) + "\n";
    EXPECT_EQ(shown, expected);
}

TEST_F(ScheduleCommands, WhatIsNoScheduleIsRefusedAndChangesNothing)
{
    const auto before = state.content("config/work.xml");
    for (const auto* wrong : {"", "mon", "9:00", "mon9:00", "mon 24:00", "mon 9:60", "mon -1:00", "mon 9", "mon :15",
                              "daily :15", "hourly 9:15", "hourly 15", "someday 9:00", "mon 9:00:00", "mon 9:00 x",
                              "mon 009:00", "mon 9:", "mon +9:00", "2:9:0"}) {
        EXPECT_EQ(schedule({"add", wrong}), 2) << wrong;
        EXPECT_EQ(state.content("config/work.xml"), before) << wrong;
    }
    EXPECT_EQ(schedule({"add"}), 2);
    EXPECT_EQ(schedule({"remove"}), 2);
    EXPECT_EQ(schedule({}), 2);
    EXPECT_EQ(tidemark({"config", "schedule", "unknown", "add", "mon 9:00"}), 3);
    EXPECT_EQ(tidemark({"config", "schedule", "unknown", "list"}), 3);
    EXPECT_EQ(list(), "");
}

TEST_F(ScheduleCommands, AreRemovedByTheNumberOfTheList)
{
    for (const auto* entry : {"mon 9:00", "daily 18:30", "hourly :15"})
        ASSERT_EQ(schedule({"add", entry}), 0);
    EXPECT_EQ(schedule({"add", "MON 09:00"}), 2) << "it is there already";
    EXPECT_EQ(list(), "1  hourly :15\n2  daily 18:30\n3  mon 9:00\n");
    for (const auto* wrong : {"0", "4", "-1", "x"})
        EXPECT_EQ(schedule({"remove", wrong}), 2) << wrong;
    EXPECT_EQ(schedule({"remove", "2"}), 0) << messages;
    EXPECT_EQ(list(), "1  hourly :15\n2  mon 9:00\n");
    EXPECT_FALSE(isStored("-1:18:30"));

    // What else the configuration says stays.
    ASSERT_EQ(tidemark({"config", "show", "work", "--json"}), 0);
    EXPECT_THAT(output, HasSubstr(local.root()));
    ASSERT_EQ(tidemark({"config", "rename", "work", "job"}), 0) << messages;
    ASSERT_EQ(tidemark({"config", "schedule", "job", "list"}), 0);
    EXPECT_EQ(output, "1  hourly :15\n2  mon 9:00\n");
}

TEST_F(ScheduleCommands, WhoSignsInWithoutAUserIsToldThatNoScheduleRuns)
{
    EXPECT_EQ(schedule({"add", "mon 9:00"}), 0);
    EXPECT_THAT(messages, HasSubstr("without a user"));
    ASSERT_EQ(tidemark({"config", "set", "work", "--user", "kim", "--password-stdin"}, "word\n"), 0) << messages;
    EXPECT_EQ(schedule({"add", "mon 10:00"}), 0);
    EXPECT_THAT(messages, Not(HasSubstr("without a user")));
}

TEST_F(ScheduleCommands, AutomaticSyncIsSwitchedByYesAndNo)
{
    const auto automatic = [this] {
        EXPECT_EQ(tidemark({"config", "show", "work", "--json"}), 0);
        return nlohmann::json::parse(output)["autosync"];
    };
    EXPECT_EQ(automatic(), true);
    EXPECT_EQ(tidemark({"config", "set", "work", "--autosync", "no"}), 0);
    EXPECT_EQ(automatic(), false);
    EXPECT_EQ(tidemark({"config", "set", "work", "--autosync", "perhaps"}), 2);
    EXPECT_EQ(automatic(), false);
    EXPECT_EQ(tidemark({"config", "set", "work", "--autosync", "yes"}), 0);
    EXPECT_EQ(automatic(), true);
}

} // namespace
} // namespace tidemark::test
