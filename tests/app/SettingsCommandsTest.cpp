#include "app/cli/SettingsCommands.h"

#include <gmock/gmock.h>

#include "config/BXSyncGlobalConf.h"
#include "tests/app/CommandWorld.h"

namespace tidemark::cli {
namespace {

using ::testing::HasSubstr;

struct SettingsCommandsTest : testing::CommandWorld
{
    std::string get(const std::string& key)
    {
        EXPECT_EQ(run(SettingsGet{key}, settings, context), ExitStatus::done);
        return takeData();
    }
    ExitStatus set(const std::string& key, const std::string& value)
    {
        return run(SettingsSet{key, value}, settings, context);
    }

    UserDefaults defaults{folder.path("defaults.plist")};
    BXSyncGlobalConf settings{defaults};
};

TEST_F(SettingsCommandsTest, ListShowsEveryKeyWithItsValue)
{
    EXPECT_EQ(run(SettingsList{}, settings, context), ExitStatus::done);
    EXPECT_EQ(takeData(), "BXSYNC_HTTP_OPTIONS_CONNECTION_TIMEOUT=10\n"
                          "BXSYNC_HTTP_PROPFIND_CONNECTION_TIMEOUT=20\n"
                          "BXSYNC_HTTP_CONNECTION_TIMEOUT=120\n"
                          "BXSYNC_HTTP_RECONNECTION=yes\n"
                          "BXSYNC_HTTP_RECONNECTION_INTERVAL=10\n"
                          "BXSYNC_HTTP_RECONNECTION_LIMIT=3\n"
                          "BXSYNC_SYNC_ON_STARTUP=no\n"
                          "BXSYNC_SYNC_ON_EXIT=no\n"
                          "BXSYNC_HIDE_PROGRESS_DIALOG=no\n");
}

TEST_F(SettingsCommandsTest, ChangesReachTheStoreAndUnsetGivesTheDefaultBack)
{
    EXPECT_EQ(set("BXSYNC_HTTP_CONNECTION_TIMEOUT", "300"), ExitStatus::done);
    EXPECT_EQ(set("BXSYNC_SYNC_ON_EXIT", "Yes"), ExitStatus::done);
    EXPECT_EQ(UserDefaults(folder.path("defaults.plist")).object("BXSYNC_HTTP_CONNECTION_TIMEOUT")->integerValue(),
              300);
    EXPECT_EQ(get("BXSYNC_SYNC_ON_EXIT"), "yes\n");
    EXPECT_EQ(run(SettingsUnset{"BXSYNC_HTTP_CONNECTION_TIMEOUT"}, settings, context), ExitStatus::done);
    EXPECT_EQ(get("BXSYNC_HTTP_CONNECTION_TIMEOUT"), "120\n");
    EXPECT_FALSE(defaults.object("BXSYNC_HTTP_CONNECTION_TIMEOUT"));
}

TEST_F(SettingsCommandsTest, ValuesThatASettingCannotHaveAreWrongUsage)
{
    const std::pair<const char*, const char*> refused[] = {
        {"BXSYNC_HTTP_PROPFIND_CONNECTION_TIMEOUT", "0"},
        {"BXSYNC_HTTP_CONNECTION_TIMEOUT", "-1"},
        {"BXSYNC_HTTP_CONNECTION_TIMEOUT", "ten"},
        {"BXSYNC_HTTP_CONNECTION_TIMEOUT", "１０"},
        {"BXSYNC_HTTP_CONNECTION_TIMEOUT", ""},
        {"BXSYNC_HTTP_CONNECTION_TIMEOUT", "99999999999999999999"},
        {"BXSYNC_HTTP_RECONNECTION_INTERVAL", "0"},
        {"BXSYNC_HTTP_RECONNECTION", "maybe"},
        {"BXSYNC_HTTP_OPTIONS_CONNECTION_TIMEOUT", "10 s"},
    };
    for (const auto& [key, value] : refused) {
        EXPECT_EQ(set(key, value), ExitStatus::usage) << key << " " << value;
        EXPECT_THAT(takeMessages(), HasSubstr(key));
    }
    EXPECT_TRUE(defaults.all().empty());
}

TEST_F(SettingsCommandsTest, ReconnectionNeedsAnIntervalAndALimit)
{
    EXPECT_EQ(set("BXSYNC_HTTP_RECONNECTION", "off"), ExitStatus::done);
    EXPECT_EQ(set("BXSYNC_HTTP_RECONNECTION_LIMIT", "0"), ExitStatus::done);
    EXPECT_EQ(set("BXSYNC_HTTP_RECONNECTION", "on"), ExitStatus::usage);
    EXPECT_EQ(set("BXSYNC_HTTP_RECONNECTION_LIMIT", "5"), ExitStatus::done);
    EXPECT_EQ(set("BXSYNC_HTTP_RECONNECTION", "on"), ExitStatus::done);
}

TEST_F(SettingsCommandsTest, UnknownKeysAreWrongUsage)
{
    EXPECT_EQ(run(SettingsGet{"BXSYNC_NO"}, settings, context), ExitStatus::usage);
    EXPECT_EQ(set("BXSYNC_NO", "1"), ExitStatus::usage);
    EXPECT_EQ(run(SettingsUnset{"BXSYNC_NO"}, settings, context), ExitStatus::usage);
    EXPECT_THAT(takeMessages(), HasSubstr("BXSYNC_NO"));
}

} // namespace
} // namespace tidemark::cli
