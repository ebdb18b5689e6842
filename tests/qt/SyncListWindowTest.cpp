#include "app/qt/progress/SyncListWindow.h"

#include <gtest/gtest.h>

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QTreeView>

#include "app/qt/progress/ChangeListModel.h"

namespace tidemark::qt {
namespace {

struct SyncListWindowTest : ::testing::Test
{
    SyncListWindowTest()
    {
        window.addList("Work", {{.path = "/Über/a.txt", .direction = Direction::up, .size = 2048, .localTime = 1000},
                                {.path = "/b.txt", .direction = Direction::down, .change = Change::deleted},
                                {.path = "/folder", .direction = Direction::up, .folder = true}});
        window.addList("Play", {{.path = "/song", .direction = Direction::conflict, .change = Change::updated}});
        window.addList("Idle", {});
        window.show();
    }
    QString cell(const QModelIndex& parent, int row, int column) const
    {
        return tree->model()->index(row, column, parent).data().toString();
    }
    QStringList requested()
    {
        QSignalSpy spy(&window, &SyncListWindow::synchronizeRequested);
        QTest::mouseClick(synchronize(), Qt::LeftButton);
        return spy.isEmpty() ? QStringList() : spy[0][0].toStringList();
    }
    QPushButton* synchronize() { return window.findChildren<QPushButton*>().front(); }
    bool shows(const QString& part)
    {
        for (const auto* label : window.findChildren<QLabel*>())
            if (label->isVisible() && label->text().contains(part)) return true;
        return false;
    }

    SyncListWindow window;
    QTreeView* tree = window.findChild<QTreeView*>();
    QLineEdit* find = window.findChild<QLineEdit*>();
    QList<QComboBox*> boxes = window.findChildren<QComboBox*>();
};

TEST_F(SyncListWindowTest, GroupsByConfigurationWithEveryColumn)
{
    ASSERT_EQ(tree->model()->rowCount(), 2);
    const auto work = tree->model()->index(0, 0);
    EXPECT_EQ(work.data().toString(), "Work (2 to upload, 1 to download)");
    EXPECT_EQ(cell({}, 1, 0), "Play (1 in conflict)");
    EXPECT_TRUE(tree->isExpanded(work));
    ASSERT_EQ(tree->model()->rowCount(work), 3);
    EXPECT_EQ(cell(work, 0, ChangeListModel::pathColumn), "/Über/a.txt");
    EXPECT_EQ(cell(work, 0, ChangeListModel::directionColumn), "Upload");
    EXPECT_EQ(cell(work, 0, ChangeListModel::changeColumn), "New");
    EXPECT_EQ(cell(work, 0, ChangeListModel::sizeColumn).remove(QChar(0xA0)).remove(' '), "2.0KiB");
    EXPECT_FALSE(cell(work, 0, ChangeListModel::localTimeColumn).isEmpty());
    EXPECT_EQ(cell(work, 0, ChangeListModel::serverTimeColumn), "");
    EXPECT_EQ(cell(work, 1, ChangeListModel::sizeColumn), "");
    EXPECT_EQ(cell(work, 2, ChangeListModel::sizeColumn), "Folder");
    EXPECT_EQ(tree->model()->index(1, 0, work).parent(), work);
    EXPECT_TRUE(shows("Changes: 4"));
}

TEST_F(SyncListWindowTest, FiltersByTextDirectionAndChangeAndSynchronizesWhatIsShown)
{
    EXPECT_EQ(requested(), (QStringList{"Work", "Play"}));
    QTest::keyClicks(find, "A.TXT");
    ASSERT_EQ(tree->model()->rowCount(), 1);
    EXPECT_EQ(tree->model()->rowCount(tree->model()->index(0, 0)), 1);
    EXPECT_EQ(requested(), QStringList{"Work"});
    EXPECT_TRUE(shows("those that the filter hides included"));
    find->setText(QString::fromUtf8("über"));
    EXPECT_EQ(requested(), QStringList{"Work"});
    find->clear();

    boxes[0]->setCurrentText("Conflict");
    EXPECT_EQ(requested(), QStringList{"Play"});
    EXPECT_FALSE(shows("those that the filter hides included"));
    boxes[1]->setCurrentText("Deleted");
    EXPECT_TRUE(shows("No change matches"));
    EXPECT_FALSE(synchronize()->isEnabled());
    boxes[0]->setCurrentIndex(0);
    EXPECT_EQ(requested(), QStringList{"Work"});

    window.resetSyncList();
    EXPECT_TRUE(shows("There are no changes"));
    EXPECT_FALSE(synchronize()->isEnabled());
    window.addList("Late", {{.path = "/x", .direction = Direction::down, .change = Change::deleted}});
    EXPECT_EQ(requested(), QStringList{"Late"});
}

TEST_F(SyncListWindowTest, ReturnDoesNotSynchronize)
{
    QSignalSpy spy(&window, &SyncListWindow::synchronizeRequested);
    QTest::keyClick(find, Qt::Key_Return);
    QTest::keyClick(tree, Qt::Key_Return);
    EXPECT_TRUE(spy.isEmpty());
    QTest::keyClick(&window, Qt::Key_Escape);
    EXPECT_FALSE(window.isVisible());
}

} // namespace
} // namespace tidemark::qt
