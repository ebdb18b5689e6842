#include <functional>
#include <memory>

#include <gtest/gtest.h>

#include <QCheckBox>
#include <QFileDialog>
#include <QInputDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include "SyncLibrary/BXSyncQuestions.h"
#include "app/qt/dialogs/CertificateTrustDialog.h"
#include "app/qt/dialogs/ConflictDialog.h"
#include "app/qt/dialogs/MessageBoxDialog.h"
#include "app/qt/dialogs/ModalQuestion.h"
#include "app/qt/dialogs/QtDialogs.h"
#include "app/qt/dialogs/QuestionParts.h"
#include "app/qt/dialogs/ReauthenticationDialog.h"

namespace tidemark::qt {
namespace {

struct HandClock : Clock
{
    SteadyTime steadyNow() const override { return SteadyTime(elapsed); }
    std::chrono::milliseconds elapsed{0};
};

bool wait(const std::function<bool()>& condition)
{
    return QTest::qWaitFor(condition, 10'000);
}

/// Code of the answer; "-1" where there is none.
std::int64_t code(const QuestionDialog& dialog)
{
    return dialog.answer() ? dialog.answer()->result : -1;
}

QPushButton* button(const QWidget& dialog, QString text)
{
    for (auto* candidate : dialog.findChildren<QPushButton*>())
        if (candidate->text().remove('&') == text) return candidate;
    return nullptr;
}

struct DialogsTest : ::testing::Test
{
    ~DialogsTest() override { ModalQuestion::admit(); }

    /// Runs the dialog, and does this to it once it is shown. One that then stays open is ended with -1.
    int run(QDialog& dialog, const std::function<void()>& act)
    {
        QTimer::singleShot(0, &dialog, act);
        QTimer::singleShot(20'000, &dialog, [&] { dialog.done(-1); });
        return ModalQuestion::ask(dialog);
    }
    std::int64_t answerToKey(const BXSyncConfirmInfo& info, Qt::Key key)
    {
        MessageBoxDialog dialog("ERROR", info);
        run(dialog, [&] { QTest::keyClick(dialog.focusWidget() ? dialog.focusWidget() : &dialog, key); });
        return code(dialog);
    }

    HandClock clock;
    const BXSyncConfirmInfo deletion = BXSyncQuestions::deleteOnServer({}, "a & b.txt", SyncMode::twoWay);
};

TEST_F(DialogsTest, EveryButtonGivesItsCodeAndTheTick)
{
    for (const auto& [text, expected] : {std::pair("Cancel", 3), {"Download", 0}, {"Delete", 1}}) {
        MessageBoxDialog dialog("DELETE_CONFIRMATION", deletion);
        EXPECT_EQ(dialog.windowTitle(), "Confirm Deletion");
        run(dialog, [&] {
            QTest::keyClick(dialog.findChild<QCheckBox*>(), Qt::Key_Space);
            QTest::mouseClick(button(dialog, text), Qt::LeftButton);
        });
        EXPECT_EQ(code(dialog), expected) << text;
        EXPECT_TRUE(dialog.answer()->persistence);
    }
}

TEST_F(DialogsTest, KeysPressedUnawareAreHarmless)
{
    for (const auto key : {Qt::Key_Escape, Qt::Key_Return, Qt::Key_Enter, Qt::Key_Space}) {
        EXPECT_EQ(answerToKey(deletion, key), 3);
        EXPECT_EQ(answerToKey(BXSyncQuestions::fatalError("x"), key), 0);
    }
    EXPECT_EQ(answerToKey(BXSyncQuestions::reconnect(100), Qt::Key_Escape), 1);
    EXPECT_EQ(answerToKey(BXSyncQuestions::reconnect(100), Qt::Key_Return), 0);
}

TEST_F(DialogsTest, CountsDownByTheClockAndAnswersByItself)
{
    MessageBoxDialog dialog("ERROR", BXSyncQuestions::reconnect(10), clock);
    const auto* bar = dialog.findChild<QProgressBar*>();
    const auto shows = [&](const QString& rest) {
        for (const auto* label : dialog.findChildren<QLabel*>())
            if (label->text().contains(rest)) return true;
        return false;
    };
    clock.elapsed = std::chrono::seconds(500);
    const int result = run(dialog, [&] {
        EXPECT_TRUE(shows(" 10 "));
        clock.elapsed += std::chrono::milliseconds(7'500);
        EXPECT_TRUE(wait([&] { return shows(" 2 "); }));
        EXPECT_EQ(bar->value(), bar->maximum() * 3 / 4);
        EXPECT_TRUE(dialog.isVisible());
        clock.elapsed += std::chrono::milliseconds(2'500);
    });
    EXPECT_EQ(result, QDialog::Accepted);
    EXPECT_EQ(code(dialog), BXSyncQuestions::reconnectCode);
    EXPECT_FALSE(dialog.isVisible());
}

TEST_F(DialogsTest, AConflictShowsWhatBothSidesHaveAndWhichIsNewer)
{
    const auto shown = [](const ConflictDialog& dialog) {
        QStringList lines;
        for (const auto* label : dialog.findChildren<QLabel*>())
            lines.append(label->text().remove(QChar(0x200B)));
        return lines;
    };
    QLocale::setDefault(QLocale("en_US"));
    BXSyncFileDataInfo local;
    local.fileData.dateLastModified = 1'700'000'000;
    local.oldDateLastModified = 1'700'000'500;
    local.size = 1'234'567;
    BXSyncFileDataInfo server;
    server.size = 5;
    const BXSyncQuestions::ConflictSides sides{"/home/x/a.txt", "https://host/a\u001b.txt", &server};
    auto lines = shown(ConflictDialog(BXSyncQuestions::conflict(local, "a.txt", sides)));
    EXPECT_EQ(lines.filter("newer"), QStringList{"Server (newer)"});
    for (const auto* part : {"/home/x/a.txt", "https://host/a\\x1B.txt", "1.2 MiB (1,234,567 bytes)", "5 bytes"})
        EXPECT_EQ(lines.filter(part).size(), 1) << part;
    EXPECT_EQ(lines.filter("2023").size(), 2);
    server.state = SyncState::deleted;
    lines = shown(ConflictDialog(BXSyncQuestions::conflict(local, "a.txt", sides)));
    EXPECT_EQ(lines.filter("newer"), QStringList());
    EXPECT_EQ(lines.filter("deleted").size(), 1);
    EXPECT_EQ(lines.filter("2023").size(), 1);
}

TEST_F(DialogsTest, ACountdownWithoutAnAnswerEndsWithNone)
{
    auto info = BXSyncQuestions::reconnect(1);
    info.otherInfo.erase(BXSyncConfirmInfo::timeoutReturnKey);
    MessageBoxDialog dialog("ERROR", info, clock);
    run(dialog, [&] { clock.elapsed += std::chrono::seconds(1); });
    EXPECT_EQ(code(dialog), -1);
}

TEST_F(DialogsTest, ClosingTheProgramEndsNestedQuestionsHarmlesslyAndAsksNoMore)
{
    MessageBoxDialog outer("DELETE_CONFIRMATION", deletion);
    MessageBoxDialog inner("ERROR", BXSyncQuestions::reconnect(100), clock);
    MessageBoxDialog late("DELETE_CONFIRMATION", deletion);
    run(outer, [&] {
        run(inner, [] { ModalQuestion::dismissAll(); });
        EXPECT_EQ(ModalQuestion::ask(late), QDialog::Rejected);
    });
    EXPECT_EQ(code(outer), 3);
    EXPECT_EQ(code(inner), 1);
    EXPECT_EQ(code(late), 3);
}

TEST_F(DialogsTest, ClosingTheProgramEndsEveryOtherModalDialog)
{
    const std::pair<const char*, std::function<bool()>> waits[] = {
        {"message", [] { return QMessageBox::question(nullptr, "t", "?") == QMessageBox::Yes; }},
        {"folder", [] { return !QFileDialog::getExistingDirectory(nullptr, "t", "/").isEmpty(); }},
        {"file", [] { return !QFileDialog::getOpenFileName(nullptr, "t", "/").isEmpty(); }},
        {"text", [] { return !QInputDialog::getText(nullptr, "t", "?", QLineEdit::Normal, "typed").isEmpty(); }}};
    for (const auto& [what, isAnswered] : waits) {
        bool wasOpen = false;
        QTimer::singleShot(0, [&wasOpen] {
            wasOpen = QApplication::activeModalWidget() != nullptr;
            ModalQuestion::dismissAll();
        });
        EXPECT_FALSE(isAnswered()) << what;
        EXPECT_TRUE(wasOpen) << what;
    }
    const std::pair<const char*, std::function<bool()>> questions[] = {
        {"conflict", [] { return QtDialogs().showConflict(BXSyncQuestions::conflict({}, "f", {}))->result != 3; }},
        {"sign in", [] { return ReauthenticationDialog("?", "user").ask(); }},
        {"certificate", [] { return CertificateTrustDialog("server", nullptr).ask(); }},
        {"alert",
         [] {
             return QtDialogs().showAlert({AlertStyle::critical, "t", "?", {"No", "Yes"}}) == 1;
         }},
        {"folder", [] { return QtDialogs().selectDirectory("/", "?").has_value(); }}};
    for (const auto& [what, isAnswered] : questions) {
        ModalQuestion::admit();
        bool wasOpen = false;
        QTimer::singleShot(0, [&wasOpen] {
            wasOpen = ModalQuestion::isOpen();
            ModalQuestion::dismissAll();
        });
        EXPECT_FALSE(isAnswered()) << what;
        EXPECT_TRUE(wasOpen) << what;
    }
}

TEST(QuestionPartsTest, GivesEveryTextAKeyOfItsOwn)
{
    EXPECT_EQ(withMnemonics({"Delete", "Download", "Dd", "A & B"}),
              (QStringList{"&Delete", "D&ownload", "Dd", "&A && B"}));
}

TEST(QuestionPartsTest, LongNamesDoNotMakeAWindowWide)
{
    const auto width = [](const QString& text) {
        return std::unique_ptr<QLabel>(makeBody(text))->minimumSizeHint().width();
    };
    EXPECT_EQ(width(QString(250, 'W')), width("x"));
    EXPECT_EQ(breakable("short words stay as they are"), "short words stay as they are");
    // A name that would pass for "exe.jpg".
    EXPECT_FALSE(breakable(QString::fromUtf8("gpj\u202eexe")).contains(QChar(0x202E)));
    // No place between a letter and its accent.
    const auto accents = QString::fromUtf8("a\u0301").repeated(30);
    EXPECT_FALSE(breakable(accents).contains(QString::fromUtf8("\u200b\u0301")));
}

} // namespace
} // namespace tidemark::qt
