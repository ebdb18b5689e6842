#include "app/qt/logs/LogViewer.h"

#include <gtest/gtest.h>

#include <fstream>

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTest>

#include "app/qt/Texts.h"
#include "app/qt/logs/LogLinesModel.h"
#include "app/qt/logs/ReportDialog.h"
#include "config/BXSyncConfigManager.h"
#include "config/BXSyncGlobalConf.h"
#include "platform/FileSystem.h"
#include "platform/UserDefaults.h"
#include "security/BXSyncPasswordManager.h"
#include "tests/support/TempTree.h"

namespace tidemark::qt {
namespace {

std::string logLine(const std::string& level, const std::string& message)
{
    return "2026/11/15 10:20:30.123 (77) " + level + " [app/X(12) run] " + message + "\n";
}

struct LogViewerTest : ::testing::Test
{
    LogViewerTest()
    {
        BXSyncConf::setPasswordDelegate(&passwords);
        auto work = std::make_shared<BXSyncConf>();
        work->setName("Work");
        work->setSyncLogPath(tree.path("logs"));
        work->info()->setPassword("the-password");
        auto quiet = std::make_shared<BXSyncConf>();
        quiet->setName("Quiet");
        store.save({{"Work", work}, {"Quiet", quiet}});
        tree.write("logs/marlock_tidemark_Work_2026-11-14.log", logLine("INFO ", "yesterday"));
        tree.write(today, logLine("INFO ", "one") + logLine("ERROR", "two") + logLine("WARN ", "the-password"));
    }
    ~LogViewerTest() override { BXSyncConf::setPasswordDelegate(nullptr); }
    bool waitForRows(const LogViewer& viewer, int rows)
    {
        return QTest::qWaitFor([&] { return viewer.linesModel().rowCount() == rows; });
    }
    static bool shows(const QWidget& window, const QString& part)
    {
        for (const auto* label : window.findChildren<QLabel*>())
            if (label->isVisible() && label->text().contains(part)) return true;
        return false;
    }
    static QPushButton* button(const QWidget& window, const QString& part)
    {
        for (auto* candidate : window.findChildren<QPushButton*>())
            if (candidate->text().remove('&').contains(part)) return candidate;
        return nullptr;
    }
    static QString message(const LogViewer& viewer, int row)
    {
        return viewer.linesModel().index(row, LogLinesModel::messageColumn).data().toString();
    }

    BXSyncPasswordManager passwords;
    test::TempTree tree;
    const std::string today = "logs/marlock_tidemark_Work_2026-11-15.log";
    UserDefaults defaults{tree.path("defaults.plist")};
    BXSyncGlobalConf settings{defaults};
    BXSyncConfigManager store{tree.path("store")};
};

TEST_F(LogViewerTest, FollowsAndFiltersTheNewestDay)
{
    LogViewer viewer(store, settings);
    viewer.showConfiguration("Work");
    viewer.show();
    ASSERT_TRUE(waitForRows(viewer, 3));
    std::ofstream(tree.path(today), std::ios::app) << logLine("INFO ", "four");
    ASSERT_TRUE(waitForRows(viewer, 4));
    EXPECT_EQ(message(viewer, 3), "four");

    const auto boxes = viewer.findChildren<QComboBox*>();
    boxes[2]->setCurrentText("Warnings and errors");
    ASSERT_EQ(viewer.linesModel().rowCount(), 2);
    EXPECT_EQ(message(viewer, 0), "two");
    viewer.findChild<QLineEdit*>()->setText("nowhere");
    EXPECT_TRUE(shows(viewer, "No line matches"));
    viewer.findChild<QLineEdit*>()->clear();
    boxes[2]->setCurrentIndex(0);

    ASSERT_EQ(boxes[1]->count(), 2);
    boxes[1]->setCurrentIndex(1);
    ASSERT_TRUE(waitForRows(viewer, 1));
    EXPECT_EQ(message(viewer, 0), "yesterday");
    // A day that is looked at stays when a new one begins.
    tree.write("logs/marlock_tidemark_Work_2026-11-16.log", logLine("INFO ", "tomorrow"));
    ASSERT_TRUE(QTest::qWaitFor([&] { return boxes[1]->count() == 3; }));
    EXPECT_EQ(boxes[1]->currentIndex(), 2);
    EXPECT_EQ(message(viewer, 0), "yesterday");
}

TEST_F(LogViewerTest, LongLogIsTakenFromItsEnd)
{
    std::string text;
    for (int i = 0; i < 10000; ++i)
        text += logLine("INFO ", "line " + std::to_string(i));
    tree.write(today, text);
    LogViewer viewer(store, settings);
    viewer.showConfiguration("Work");
    viewer.show();
    auto* earlier = button(viewer, "Earlier");
    ASSERT_TRUE(QTest::qWaitFor([&] { return earlier->isEnabled(); }));
    EXPECT_LT(viewer.linesModel().rowCount(), 5000);
    for (int looks = 0; looks < 10 && earlier->isEnabled(); ++looks) {
        const auto before = viewer.linesModel().rowCount();
        QTest::mouseClick(earlier, Qt::LeftButton);
        ASSERT_TRUE(QTest::qWaitFor([&] { return viewer.linesModel().rowCount() > before; }));
    }
    ASSERT_EQ(viewer.linesModel().rowCount(), 10000);
    EXPECT_EQ(message(viewer, 0), "line 0");
    EXPECT_EQ(message(viewer, 9999), "line 9999");
}

TEST_F(LogViewerTest, SaysWhereThereIsNoLog)
{
    LogViewer viewer(store, settings);
    viewer.showConfiguration("Quiet");
    viewer.show();
    EXPECT_TRUE(shows(viewer, "“Quiet” keeps no log"));
    viewer.showConfiguration("Work");
    EXPECT_FALSE(shows(viewer, "keeps no log"));
    ASSERT_TRUE(waitForRows(viewer, 3));
    // The program has no log yet.
    viewer.findChild<QComboBox*>()->setCurrentIndex(0);
    EXPECT_TRUE(QTest::qWaitFor([&] { return shows(viewer, "Nothing has been logged"); }));
    QTest::mouseClick(button(viewer, "Folder"), Qt::LeftButton);
    EXPECT_TRUE(shows(viewer, "could not be opened: " + fromUtf8(tree.path("store/logs"))));
}

TEST_F(LogViewerTest, ReportIsShownBeforeItIsSaved)
{
    LogViewer viewer(store, settings);
    viewer.show();
    QTest::mouseClick(button(viewer, "Report"), Qt::LeftButton);
    auto* dialog = viewer.findChild<ReportDialog*>();
    ASSERT_TRUE(dialog);
    auto* list = dialog->findChild<QListWidget*>();
    ASSERT_TRUE(QTest::qWaitFor([&] { return list->count() > 0; }));
    const auto rows = list->findItems("marlock_tidemark_Work_2026-11-15", Qt::MatchContains);
    ASSERT_EQ(rows.size(), 1);
    list->setCurrentItem(rows.front());
    auto* preview = dialog->findChild<QPlainTextEdit*>();
    ASSERT_TRUE(QTest::qWaitFor([&] { return preview->toPlainText().contains("[removed]"); }));
    EXPECT_FALSE(preview->toPlainText().contains("the-password"));

    dialog->saveTo(fromUtf8(tree.path("none/report.zip")));
    ASSERT_TRUE(QTest::qWaitFor([&] { return shows(*dialog, "could not be saved"); }));
    dialog->saveTo(fromUtf8(tree.path("report.zip")));
    ASSERT_TRUE(QTest::qWaitFor([&] { return shows(*dialog, "has been saved"); }));
    EXPECT_TRUE(fs::exists(tree.path("report.zip")));
}

} // namespace
} // namespace tidemark::qt
