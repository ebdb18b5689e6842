#include "app/GlobalSettingsDraft.h"

#include <gmock/gmock.h>

#include "app/Autostart.h"
#include "platform/UserDefaults.h"
#include "tests/app/CommandWorld.h"

namespace tidemark {
namespace {

using cli::testing::contentOf;
using cli::testing::TemporaryFolder;

TEST(GlobalSettingsDraft, StoresWhatIsTypedAndKeepsWhatIsNoNumber)
{
    const TemporaryFolder folder;
    UserDefaults defaults(folder.path("defaults.plist"));
    BXSyncGlobalConf settings(defaults);
    auto draft = draftOf(settings);
    EXPECT_EQ(draft.optionsTimeout, "10");
    draft.optionsTimeout = "0";
    draft.typed = {"30", "99999999999999999999999", false, "soon", "5"};
    draft.syncOnExit = true;
    ASSERT_TRUE(store(draft, settings));
    EXPECT_EQ(settings.optionsTimeout(), 10u);
    EXPECT_EQ(settings.propfindTimeout(), 30u);
    EXPECT_GT(settings.timeout(), 1u << 30);
    EXPECT_FALSE(settings.reconnect());
    EXPECT_EQ(settings.reconnectInterval(), 10u);
    EXPECT_EQ(settings.reconnectLimit(), 5u);
    EXPECT_TRUE(settings.syncOnExit());
    EXPECT_FALSE(settings.syncOnStartUp());
}

TEST(Autostart, WritesAFileThatDesktopsUnderstandAndLeavesAPersonsOwnAlone)
{
    const TemporaryFolder folder;
    const auto file = folder.path("config/autostart/com.marlock.tidemark.desktop");
    Autostart autostart(folder.path("config/autostart"), "/opt/my apps/tidemark-tray");
    EXPECT_FALSE(autostart.isOn());
    ASSERT_TRUE(autostart.setOn(true));
    EXPECT_TRUE(autostart.isOn());
    EXPECT_THAT(contentOf(file), ::testing::HasSubstr("\nExec=\"/opt/my apps/tidemark-tray\"\n"));

    folder.write("config/autostart/com.marlock.tidemark.desktop", "[Desktop Entry]\nExec=mine\n");
    ASSERT_TRUE(autostart.setOn(true));
    EXPECT_THAT(contentOf(file), ::testing::HasSubstr("mine"));
    folder.write("config/autostart/com.marlock.tidemark.desktop", "[Desktop Entry]\nHidden=true\n");
    EXPECT_FALSE(autostart.isOn());
    ASSERT_TRUE(autostart.setOn(true));
    EXPECT_TRUE(autostart.isOn());
    ASSERT_TRUE(autostart.setOn(false));
    EXPECT_FALSE(std::filesystem::exists(file));
    EXPECT_EQ(Autostart::quoted("/a\"$`%\\b"), "\"/a\\\\\"\\\\$\\\\`%%\\\\\\\\b\"");
}

} // namespace
} // namespace tidemark
