#include "app/qt/settings/SettingsWindow.h"

#include <filesystem>

#include <gmock/gmock.h>

#include <QApplication>
#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QSpinBox>
#include <QTabWidget>
#include <QTest>
#include <QTimer>

#include "SyncLibrary/BXSyncRunLock.h"
#include "app/qt/Texts.h"
#include "app/qt/dialogs/ModalQuestion.h"
#include "app/qt/settings/FieldNote.h"
#include "app/qt/settings/FirstRunAssistant.h"
#include "config/BXSyncConfigManager.h"
#include "platform/Localization.h"
#include "tests/support/TempTree.h"

namespace tidemark::qt {
namespace {

using ::testing::ElementsAre;

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
    /// What is said to be wrong with fields.
    static QStringList shown(const QWidget& window)
    {
        QStringList faults;
        for (const auto* note : window.findChildren<FieldNote*>())
            if (!note->isHidden()) faults << note->fault();
        return faults;
    }
    /// All that can be read.
    static std::vector<std::string> said(const QWidget& window)
    {
        std::vector<std::string> all;
        for (const auto* label : window.findChildren<QLabel*>())
            if (label->isVisible()) all.push_back(toUtf8(label->text()));
        return all;
    }
    static bool shows(const QWidget& window, const char* key) { return shown(window).contains(text("Settings", key)); }

    test::TempTree tree;
    BXSyncConfigManager store{tree.path("config")};
    QStringList asked;
    bool agrees = true;
    UnsavedAnswer unsaved = UnsavedAnswer::keepEditing;
};

TEST_F(SettingsWindowTest, badInputGetsItsMessageAndStays)
{
    create("work");
    create("other");
    const auto window = open();
    window->showConfiguration("work");
    struct Row
    {
        const char* field;
        std::string typed;
        const char* problem;
        /// The one that the message is about, where it is another one.
        const char* meant = nullptr;
    };
    const auto config = tree.path("config");
    const Row rows[] = {{"NAME", "", "NAME_MISSING"},
                        {"NAME", "a/b", "NAME_UNUSABLE"},
                        {"NAME", "other", "NAME_TAKEN"},
                        {"URL", "", "URL_MISSING"},
                        {"URL", "ftp://x", "URL_UNUSABLE"},
                        {"LOCAL", "", "LOCAL_MISSING"},
                        {"LOCAL", "relative", "LOCAL_UNUSABLE"},
                        {"LOCAL", config, "LOCAL_HOLDS_CONFIGURATIONS"},
                        {"LOCAL", tree.path("file"), "LOCAL_NO_FOLDER"},
                        {"PASSWORD", "without user", "USER_MISSING", "USER"},
                        {"PROXY_HOST", "", "PROXY_HOST_UNUSABLE"},
                        {"PROXY_HOST", "http://proxy", "PROXY_HOST_UNUSABLE"},
                        {"PROXY_HOST", "proxy:8080", "PROXY_HOST_UNUSABLE"},
                        {"PROXY_PORT", "65536", "PROXY_PORT_UNUSABLE"},
                        {"PROXY_PASSWORD", "without user", "PROXY_USER_MISSING", "PROXY_USER"},
                        {"KEY", "", "KEY_MISSING"},
                        {"KEY_AGAIN", "another", "KEY_DIFFERS"},
                        {"LOG_FOLDER", "logs", "LOG_FOLDER_UNUSABLE"},
                        {"LOG_FOLDER", tree.path("file"), "LOCAL_NO_FOLDER"},
                        {"LOG_DAYS", "0", "LOG_DAYS_UNUSABLE"},
                        {"LOG_DAYS", "many", "LOG_DAYS_UNUSABLE"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.problem + (" " + row.typed));
        for (auto* box : window->findChildren<QCheckBox*>())
            box->setChecked(true);
        for (const auto& [key, good] :
             {std::pair("PROXY_HOST", "proxy"), {"PROXY_PORT", "8080"}, {"KEY", "sesame"}, {"KEY_AGAIN", "sesame"}})
            type(*named<QLineEdit>(*window, key), good);
        auto* field = named<QLineEdit>(*window, row.field);
        ASSERT_NE(field, nullptr);
        type(*field, fromUtf8(row.typed));
        button(*window, "APPLY")->click();
        EXPECT_TRUE(shows(*window, row.problem));
        EXPECT_EQ(shown(*window).size(), 1U) << "nothing else is wrong";
        auto* meant = named<QLineEdit>(*window, row.meant ? row.meant : row.field);
        EXPECT_EQ(meant->accessibleDescription(), text("Settings", row.problem));
        EXPECT_EQ(window->focusWidget(), meant);
        EXPECT_TRUE(meant->isVisible()) << "its page is shown";
        EXPECT_EQ(toUtf8(field->text()), row.typed);
        QTest::keyClick(meant, Qt::Key_X);
        EXPECT_FALSE(shows(*window, row.problem)) << "no longer about what is typed";
        meant->clear();
        type(*field, fromUtf8(row.typed));
        button(*window, "APPLY")->click();
        for (auto* box : window->findChildren<QCheckBox*>())
            box->setChecked(false);
        EXPECT_EQ(shows(*window, row.problem), meant->isEnabled()) << "what is switched off is not bad";
        button(*window, "REVERT")->click();
    }
    EXPECT_EQ(store.get("work", false)->serverURL(), "https://dav.example.org/folder");
}

TEST_F(SettingsWindowTest, anEntryOfTheTimetableThatIsThereIsNotAddedUnsaid)
{
    create("work");
    const auto window = open();
    window->findChild<QTabWidget*>()->setCurrentIndex(2);
    auto* timetable = named<QListWidget>(*window, "SCHEDULES");
    auto* minute = window->findChild<QSpinBox*>();
    const auto add = [&] { button(*window, "SCHEDULE_ADD")->click(); };
    minute->setValue(15);
    add();
    EXPECT_FALSE(shows(*window, "SCHEDULE_THERE"));
    add();
    EXPECT_TRUE(shows(*window, "SCHEDULE_THERE"));
    EXPECT_EQ(timetable->count(), 1);
    EXPECT_EQ(minute->value(), 15);
    EXPECT_EQ(timetable->currentRow(), 0);
    minute->setValue(16);
    EXPECT_FALSE(shows(*window, "SCHEDULE_THERE"));
    add();
    EXPECT_EQ(timetable->count(), 2);
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

TEST_F(SettingsWindowTest, aConfigurationThatIsDeletedElsewhereIsNotShownAnyMore)
{
    create("one");
    create("two");
    const auto window = open();
    window->showConfiguration("one");
    ASSERT_TRUE(ConfigurationDraft::remove(store, "one"));
    window->reload();
    EXPECT_EQ(named<QLineEdit>(*window, "NAME")->text(), "two");
    ASSERT_TRUE(ConfigurationDraft::remove(store, "two"));
    window->reload();
    EXPECT_FALSE(named<QLineEdit>(*window, "NAME")->isEnabled());
    EXPECT_FALSE(button(*window, "DELETE")->isEnabled());
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
    unsaved = UnsavedAnswer::save;
    list->setCurrentRow(1);
    EXPECT_EQ(store.get(toUtf8(first), false)->info()->username(), "kim");
}

TEST_F(SettingsWindowTest, aRefusedSaveIsSaidInTheDesktopsLanguageAndKeepsWhatWasTyped)
{
    Localization::setLanguage("de");
    create("work");
    const auto window = open();
    auto* user = named<QLineEdit>(*window, "USER");
    type(*user, "kim");
    const auto applyAndExpect = [&](const char* reason) {
        button(*window, "APPLY")->click();
        EXPECT_THAT(said(*window), ::testing::Contains(toUtf8(
                                       text("Settings", "NOT_SAVED", {{"reason", toUtf8(text("Settings", reason))}}))));
        EXPECT_EQ(user->text(), "kim");
        EXPECT_TRUE(button(*window, "APPLY")->isEnabled());
    };
    {
        const auto lock = BXSyncRunLock::tryAcquire(store.syncInfoPath("work"));
        ASSERT_TRUE(lock && *lock);
        applyAndExpect("REASON_RUN");
    }
    EXPECT_EQ(store.get("work", false)->info()->username(), "");
    std::filesystem::remove(store.configFilePath("work"));
    applyAndExpect("REASON_GONE");
    Localization::setLanguage("en");
}

TEST_F(SettingsWindowTest, aQuestionThatIsOpenWhenTheProgramClosesChangesNothing)
{
    create("work");
    SettingsWindow window({store, [](const std::string&) {}, [] {}});
    window.show();
    const auto dismissWhen = [&](const std::function<void()>& asks) {
        bool wasOpen = false;
        QTimer::singleShot(0, &window, [&] {
            wasOpen = ModalQuestion::isOpen();
            ModalQuestion::dismissAll();
        });
        asks();
        ModalQuestion::admit();
        EXPECT_TRUE(wasOpen);
    };
    for (const char* key : {"DELETE", "CHOOSE", "IMPORT"}) {
        SCOPED_TRACE(key);
        dismissWhen([&] { button(window, key)->click(); });
    }
    auto* user = named<QLineEdit>(window, "USER");
    type(*user, "kim");
    dismissWhen([&] { window.close(); });
    EXPECT_TRUE(window.isVisible());
    EXPECT_EQ(user->text(), "kim");
    EXPECT_THAT(store.configNames(), ElementsAre("work"));
}

TEST_F(SettingsWindowTest, theAssistantSaysBelowEachFieldWhatIsWrongAndKeepsIt)
{
    create("work");
    FirstRunAssistant assistant(store);
    assistant.show();
    const auto field = [&](const char* key) {
        for (const auto* label : assistant.findChildren<QLabel*>())
            if (label->text() == text("Settings", key) && label->buddy())
                return dynamic_cast<QLineEdit*>(label->buddy());
        return static_cast<QLineEdit*>(nullptr);
    };
    struct Row
    {
        int page;
        const char* field;
        std::string typed;
        const char* problem;
        const char* meant;
    };
    const Row rows[] = {{0, "URL", "", "URL_MISSING", "URL"},
                        {0, "URL", "dav.example.org", "URL_UNUSABLE", "URL"},
                        {0, "PASSWORD", "sesame", "USER_MISSING", "USER"},
                        {1, "NAME", "", "NAME_MISSING", "NAME"},
                        {1, "NAME", "work", "NAME_TAKEN", "NAME"},
                        {1, "LOCAL", "relative", "LOCAL_UNUSABLE", "LOCAL"},
                        {1, "LOCAL", tree.path("file"), "LOCAL_NO_FOLDER", "LOCAL"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.problem);
        assistant.setStartId(row.page);
        assistant.restart();
        for (const auto& [key, good] :
             {std::pair("URL", "http://127.0.0.1:9/"), {"USER", ""}, {"PASSWORD", ""}, {"NAME", "first"}})
            type(*field(key), good);
        type(*field("LOCAL"), fromUtf8(tree.path("local")));
        type(*field(row.field), fromUtf8(row.typed));
        assistant.next();
        EXPECT_EQ(assistant.currentId(), row.page);
        EXPECT_THAT(shown(assistant), ::testing::ElementsAre(text("Settings", row.problem)));
        EXPECT_EQ(assistant.focusWidget(), field(row.meant));
        EXPECT_EQ(toUtf8(field(row.field)->text()), row.typed);
    }
    assistant.setStartId(2);
    assistant.restart();
    type(*field("LOCAL"), fromUtf8(tree.path("file/below")));
    assistant.accept();
    EXPECT_TRUE(assistant.isVisible());
    EXPECT_THAT(shown(assistant),
                ::testing::ElementsAre(
                    text("Settings", "LOCAL_NOT_MADE", {{"reason", toUtf8(text("Settings", "REASON_IN_THE_WAY"))}})));
    EXPECT_EQ(assistant.createdName(), "");
}

} // namespace
} // namespace tidemark::qt
