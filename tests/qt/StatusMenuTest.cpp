#include "app/qt/StatusMenu.h"

#include <gmock/gmock.h>

#include <QApplication>
#include <QDialog>
#include <QPushButton>
#include <QTimer>

#include "SyncLibrary/BXSyncFileWatcher.h"
#include "SyncLibrary/BXSyncQuestions.h"
#include "app/qt/MenuWindow.h"
#include "app/qt/Notices.h"
#include "app/qt/StatusItem.h"
#include "app/qt/Texts.h"
#include "app/qt/dialogs/MessageBoxDialog.h"
#include "app/qt/dialogs/ModalQuestion.h"

namespace tidemark::qt {
namespace {

using Action = StatusMenuEntry::Action;

QAction* find(const QMenu& menu, const QString& title)
{
    for (auto* action : menu.actions())
        if (action->text() == title) return action;
    return nullptr;
}

TEST(StatusMenu, followsTheConfigurationsAndDoesWhatIsChosen)
{
    std::vector<std::string> names{"a & b"};
    std::vector<std::pair<Action, std::string>> done;
    StatusMenu menu([&] { return names; },
                    [&](Action action, const std::string& name) { done.emplace_back(action, name); });
    const auto before = menu.actions();
    menu.menuNeedsUpdate();
    EXPECT_EQ(menu.actions(), before) << "built anew only when something differs";
    auto* submenu = menu.actions()[3]->menu();
    ASSERT_NE(submenu, nullptr);
    ASSERT_NE(find(*submenu, "a && b"), nullptr);
    find(*submenu, "a && b")->trigger();
    menu.actions().first()->trigger();
    menu.actions().last()->trigger();
    EXPECT_THAT(done, ::testing::ElementsAre(std::pair(Action::sync, std::string("a & b")),
                                             std::pair(Action::syncAll, std::string()),
                                             std::pair(Action::exit, std::string())));
    names.clear();
    menu.menuNeedsUpdate();
    EXPECT_FALSE(menu.actions()[3]->menu()->isEnabled());
}

struct NoticesTest : ::testing::Test
{
    QStringList opened;
    std::vector<Notice> told;
    const Notices notices{{[this](const Notice& notice) { told.push_back(notice); },
                           [this](const std::string& name) { opened.append("log " + fromUtf8(name)); },
                           [this](const std::string& name) { opened.append("settings " + fromUtf8(name)); }}};
};

TEST_F(NoticesTest, tellOfRunsThatFailedInTheBackgroundAndOpenTheirLog)
{
    for (const auto outcome :
         {SequenceOutcome::done, SequenceOutcome::cancelled, SequenceOutcome::refusedAlreadyRunning})
        notices.runEnded("work", outcome, true);
    notices.runEnded("work", SequenceOutcome::loginFailed, false);
    EXPECT_TRUE(told.empty());
    for (const auto outcome :
         {SequenceOutcome::someItemsFailed, SequenceOutcome::listupFailed, SequenceOutcome::loginFailed})
        notices.runEnded("work", outcome, true);
    DirectoryWatchFailure gone;
    gone.kind = DirectoryWatchFailure::Kind::rootGone;
    notices.watchFailed("home", gone);
    ASSERT_EQ(told.size(), 4U);
    EXPECT_TRUE(told[0].title.contains("work"));
    EXPECT_NE(told[0].message, told[2].message);
    for (const auto& notice : told)
        notice.open();
    EXPECT_EQ(opened, (QStringList{"log work", "log work", "log work", "settings home"}));
}

TEST_F(NoticesTest, aQuestionThatNobodySeesIsToldAndBroughtToTheFront)
{
    ModalQuestion::watch(std::chrono::milliseconds(50), [this](QDialog& question) {
        notices.questionUnseen(question);
        question.reject();
    });
    const auto ask = [](const std::function<void(QDialog&)>& act) {
        MessageBoxDialog dialog("ERROR", BXSyncQuestions::fatalError("disk full"));
        QTimer::singleShot(0, &dialog, [&] { act(dialog); });
        QTimer::singleShot(100, &dialog, [&] { dialog.reject(); });
        ModalQuestion::ask(dialog);
    };
    ask([](QDialog&) {});
    EXPECT_TRUE(told.empty()) << "it was looked at";
    ask([](QDialog& dialog) { dialog.showMinimized(); });
    ASSERT_EQ(told.size(), 1U);
    EXPECT_TRUE(told[0].message.contains("disk full"));
    told[0].open(); // the question is gone

    QDialog open;
    open.showMinimized();
    notices.questionUnseen(open);
    told.back().open();
    EXPECT_FALSE(open.isMinimized());
    ModalQuestion::watch({}, {});
}

TEST(StatusItem, withoutAStatusAreaShowsAWindow)
{
    StatusMenu menu([] { return std::vector<std::string>(); }, [](Action, const std::string&) {});
    StatusItem item(menu);
    EXPECT_FALSE(item.isInStatusArea()) << "the platform of the tests has none";
    item.show(StatusItem::State::trouble, "trouble");
    EXPECT_EQ(item.state(), StatusItem::State::trouble);
    QPushButton* show = nullptr;
    for (auto* window : QApplication::topLevelWidgets())
        for (auto* button : window->findChildren<QPushButton*>())
            if (qobject_cast<MenuWindow*>(window) && !button->menu()) show = button;
    ASSERT_NE(show, nullptr);
    EXPECT_FALSE(show->isVisible()) << "there is nothing to show yet";
    int shown = 0;
    item.notify({"title", "message", [&shown] { ++shown; }});
    EXPECT_TRUE(show->isVisible());
    show->click();
    item.openNotice();
    EXPECT_EQ(shown, 2);
}

} // namespace
} // namespace tidemark::qt
