#include "app/StatusMenuEntries.h"

#include <gmock/gmock.h>

namespace tidemark {
namespace {

using ::testing::ElementsAre;

std::vector<std::string> titlesOf(const std::vector<StatusMenuEntry>& entries)
{
    std::vector<std::string> titles;
    for (const auto& entry : entries)
        titles.push_back(entry.isSeparator() ? "-" : entry.titleKey + entry.name);
    return titles;
}

TEST(StatusMenuEntries, areInOrderWithTheirSubmenus)
{
    const auto entries = statusMenuEntries({"work", "home"});
    EXPECT_THAT(titlesOf(entries), ElementsAre("SYNCHRONIZE", "SYNCHRONIZE_LIST", "-", "SYNCHRONIZE_SELECT_CONFIG",
                                               "SYNCHRONIZE_LIST_SELECT_CONFIG", "-", "SETTING", "-", "MAINTENANCE",
                                               "-", "SHOW_VERSION", "-", "EXIT"));
    EXPECT_THAT(titlesOf(entries[3].submenu), ElementsAre("work", "home"));
    EXPECT_EQ(entries[3].submenu[1].action, StatusMenuEntry::Action::sync);
    EXPECT_EQ(entries[4].submenu[1].action, StatusMenuEntry::Action::syncList);
    EXPECT_THAT(titlesOf(entries[8].submenu), ElementsAre("RESET_SYNC_INFO", "DOWNLOAD_ALL_FILES", "UPLOAD_ALL_FILES"));
    EXPECT_EQ(entries[8].submenu[2].action, StatusMenuEntry::Action::uploadAll);
    EXPECT_NE(entries, statusMenuEntries({"work"}));
}

} // namespace
} // namespace tidemark
