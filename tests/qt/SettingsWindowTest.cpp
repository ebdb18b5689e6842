#include "app/qt/settings/SettingsWindow.h"

#include <gmock/gmock.h>

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QTest>

#include "SyncLibrary/BXSyncRunLock.h"
#include "app/qt/Texts.h"
#include "app/qt/settings/FirstRunAssistant.h"
#include "config/BXSyncConfigManager.h"
#include "tests/support/TempTree.h"

namespace tidemark::qt {
namespace {

using ::testing::ElementsAre;
using Unsaved = SettingsWindow::Unsaved;

class SettingsWindowTest : public ::testing::Test
{
protected:
    SettingsWindowTest() { tree.make({{"local", test::folder()}, {"file", test::file("")}}); }

    void create(const std::string& name)
    {
        ConfigurationDraft draft;
        draft.name = name;
        draft.url = "https://dav.example.org/folder";
        draft.localPath = tree.path("local");
        ASSERT_TRUE(draft.save(store, ""));
    }
    std::unique_ptr<SettingsWindow> open()
    {
        auto window =
            std::make_unique<SettingsWindow>(SettingsWindow::Outside{store, [](const std::string&) {}, [] {}});
        window->setAskYes([this](const QString& question) {
            asked.append(question);
            return agrees;
        });
        window->setAskUnsaved([this] { return unsaved; });
        window->show();
        return window;
    }
    template <class Widget>
    static Widget* named(const QWidget& window, const char* key)
    {
        const auto name = text("Settings", key).remove('&');
        for (auto* widget : window.findChildren<Widget*>())
            if (widget->accessibleName() == name) return widget;
        // A field with a button beside it is named by its row.
        for (auto* row : window.findChildren<QWidget*>())
            if (row->accessibleName() == name) return dynamic_cast<Widget*>(row->focusProxy());
        return nullptr;
    }
    static QPushButton* button(const QWidget& window, const char* key)
    {
        for (auto* candidate : window.findChildren<QPushButton*>())
            if (candidate->text() == text("Settings", key)) return candidate;
        return nullptr;
    }
    static void type(QLineEdit& field, const QString& content)
    {
        field.clear();
        QTest::keyClicks(&field, content);
    }
    static bool shows(const QWidget& window, const char* key)
    {
        for (const auto* label : window.findChildren<QLabel*>())
            if (!label->isHidden() && label->text() == text("Settings", key)) return true;
        return false;
    }

    test::TempTree tree;
    BXSyncConfigManager store{tree.path("config")};
    QStringList asked;
    bool agrees = true;
    Unsaved unsaved = Unsaved::keepEditing;
};

TEST_F(SettingsWindowTest, badInputGetsItsMessageAndStays)
{
    create("work");
    const auto window = open();
    struct Row
    {
        const char* field;
        const char* typed;
        const char* problem;
    };
    const auto file = tree.path("file");
    const Row rows[] = {{"NAME", "a/b", "NAME_UNUSABLE"},
                        {"URL", "ftp://x", "URL_UNUSABLE"},
                        {"LOCAL", "relative", "LOCAL_UNUSABLE"},
                        {"LOCAL", file.c_str(), "LOCAL_NO_FOLDER"},
                        {"PASSWORD", "without user", "USER_MISSING"},
                        {"LOG_DAYS", "many", "LOG_DAYS_UNUSABLE"},
                        {"LOG_FOLDER", "logs", "LOG_FOLDER_UNUSABLE"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.problem);
        auto* field = named<QLineEdit>(*window, row.field);
        ASSERT_NE(field, nullptr);
        type(*field, row.typed);
        button(*window, "APPLY")->click();
        EXPECT_TRUE(shows(*window, row.problem));
        EXPECT_EQ(field->text(), row.typed);
        button(*window, "REVERT")->click();
        EXPECT_FALSE(shows(*window, row.problem));
    }
    EXPECT_EQ(store.get("work", false)->serverURL(), "https://dav.example.org/folder");
}

TEST_F(SettingsWindowTest, whatIsAppliedIsInTheStore)
{
    create("work");
    const auto window = open();
    type(*named<QLineEdit>(*window, "NAME"), "renamed");
    type(*named<QLineEdit>(*window, "USER"), "kim");
    button(*window, "APPLY")->click();
    EXPECT_THAT(store.configNames(), ElementsAre("renamed"));
    EXPECT_EQ(store.get("renamed", false)->info()->username(), "kim");
    EXPECT_FALSE(button(*window, "APPLY")->isEnabled());

    button(*window, "DUPLICATE")->click();
    button(*window, "APPLY")->click();
    EXPECT_THAT(store.configNames(), ::testing::UnorderedElementsAre("renamed", "renamed 2"));

    agrees = false;
    button(*window, "DELETE")->click();
    EXPECT_EQ(store.configNames().size(), 2U);
    agrees = true;
    button(*window, "DELETE")->click();
    EXPECT_THAT(store.configNames(), ElementsAre("renamed"));
}

TEST_F(SettingsWindowTest, nothingTypedIsLostUnasked)
{
    create("one");
    create("two");
    const auto window = open();
    auto* list = window->findChild<QListWidget*>();
    list->setCurrentRow(0);
    const auto first = list->currentItem()->text();
    auto* user = named<QLineEdit>(*window, "USER");
    type(*user, "kim");
    list->setCurrentRow(1);
    EXPECT_EQ(list->currentItem()->text(), first);
    EXPECT_EQ(user->text(), "kim");
    EXPECT_FALSE(window->close());
    unsaved = Unsaved::apply;
    list->setCurrentRow(1);
    EXPECT_EQ(store.get(toUtf8(first), false)->info()->username(), "kim");
}

TEST_F(SettingsWindowTest, aRunUnderWayKeepsTheConfigurationAsItIs)
{
    create("work");
    const auto window = open();
    const auto lock = BXSyncRunLock::tryAcquire(store.syncInfoPath("work"));
    ASSERT_TRUE(lock && *lock);
    auto* user = named<QLineEdit>(*window, "USER");
    type(*user, "kim");
    button(*window, "APPLY")->click();
    EXPECT_EQ(user->text(), "kim");
    EXPECT_TRUE(button(*window, "APPLY")->isEnabled());
    EXPECT_EQ(store.get("work", false)->info()->username(), "");
}

TEST_F(SettingsWindowTest, theAssistantWantsAnAddressFirst)
{
    FirstRunAssistant assistant(store);
    assistant.restart();
    EXPECT_FALSE(assistant.validateCurrentPage());
    EXPECT_TRUE(shows(assistant, "URL_MISSING"));
    EXPECT_EQ(assistant.createdName(), "");
}

} // namespace
} // namespace tidemark::qt
