#include "app/qt/progress/ProgressWindow.h"

#include <gtest/gtest.h>

#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalSpy>
#include <QTableView>
#include <QTest>
#include <QToolButton>

#include "SyncLibrary/BXSyncFileDataInfo.h"
#include "app/SyncItems.h"
#include "app/qt/progress/SyncItemsModel.h"
#include "tests/support/ManualClock.h"

namespace tidemark::qt {
namespace {

/// Counts how often a window is painted as a whole, and how often a view paints itself.
class PaintCount : public QObject
{
public:
    explicit PaintCount(QWidget* widget) : widget_(widget) { widget->installEventFilter(this); }
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (watched == widget_ && event->type() == QEvent::UpdateRequest) ++count;
        return false;
    }
    int count = 0;

private:
    QWidget* widget_;
};

struct ProgressWindowTest : ::testing::Test
{
    ProgressWindowTest() { model.setItems(&items); }

    void beginRun(std::size_t count)
    {
        items.beginRun("Work");
        std::vector<BXSyncFileDataInfo*> list;
        for (std::size_t i = 0; i < count; ++i) {
            auto record = std::make_unique<BXSyncFileDataInfo>();
            record->fileData = {"/folder/file " + std::to_string(i), 1000};
            record->state = SyncState::up | SyncState::added;
            record->size = 100;
            list.push_back(record.get());
            records.push_back(std::move(record));
        }
        model.setTotalFiles(static_cast<std::int64_t>(count), 0, static_cast<std::int64_t>(count) * 100, true);
        model.addSyncList(list);
    }
    void transfer(std::size_t index, bool done = true)
    {
        model.setFileName("/local" + records[index]->fileData.fileName, "http://host/x", 100);
        model.setThread(nullptr);
        model.finish();
        records[index]->operateFinished = done;
        model.updatedFile(*records[index]);
    }
    QAbstractButton* button(ProgressWindow& window, const QString& part)
    {
        for (auto* candidate : window.findChildren<QAbstractButton*>())
            if (candidate->text().remove('&').contains(part)) return candidate;
        return nullptr;
    }
    static bool shows(const ProgressWindow& window, const QString& part)
    {
        for (const auto* label : window.findChildren<QLabel*>())
            if (label->text().contains(part)) return true;
        return false;
    }

    testing::ManualClock clock;
    SyncItems items;
    BXSyncProgressModel model{clock};
    std::vector<std::unique_ptr<BXSyncFileDataInfo>> records;
};

TEST_F(ProgressWindowTest, FollowsTheRun)
{
    ProgressWindow window(model, items);
    model.setConnectCount(1);
    model.setPercentProgress(0, "Synchronizing “Work”");
    window.show();
    EXPECT_TRUE(shows(window, "Synchronizing “Work”"));
    model.addListUpFiles(4);
    window.refresh();
    EXPECT_TRUE(shows(window, "Looking for changes"));

    beginRun(2);
    model.setFileName("/local/<b>bold", "http://host/x", 100);
    model.setThread(nullptr);
    window.refresh();
    EXPECT_TRUE(shows(window, "<b>bold(1/2)"));
    EXPECT_TRUE(shows(window, "Uploading"));
    EXPECT_TRUE(shows(window, "0 s left"));
    model.finish();
    window.refresh();
    EXPECT_TRUE(shows(window, "0 s left")) << "no flicker between two files";
    for (const auto* bar : window.findChildren<QProgressBar*>())
        EXPECT_EQ(bar->value(), 600) << bar->accessibleName().toStdString();
    model.setPercentProgress(50, "Synchronizing “Home”");
    window.refresh();
    EXPECT_FALSE(shows(window, "bold")) << "another configuration's item";
}

TEST_F(ProgressWindowTest, CancelReachesTheRunOnceAndReturnOnlyHides)
{
    int cancelled = 0;
    model.setCancelHandler([&] { ++cancelled; });
    ProgressWindow window(model, items);
    window.show();
    QTest::keyClick(&window, Qt::Key_Escape);
    EXPECT_FALSE(window.isVisible());
    window.show();
    QTest::keyClick(&window, Qt::Key_Return);
    EXPECT_FALSE(window.isVisible());
    EXPECT_EQ(cancelled, 0);

    window.show();
    auto* cancel = button(window, "Cancel");
    QTest::mouseClick(cancel, Qt::LeftButton);
    QTest::mouseClick(cancel, Qt::LeftButton);
    EXPECT_EQ(cancelled, 1);
    EXPECT_TRUE(model.canceled());
    EXPECT_FALSE(cancel->isEnabled());
    EXPECT_EQ(cancel->text(), "Canceling…");
    model.resetWindow();
    window.refresh();
    EXPECT_TRUE(cancel->isEnabled());
}

TEST_F(ProgressWindowTest, DetailsShowEachItemsState)
{
    ProgressWindow window(model, items);
    window.show();
    auto* table = window.findChild<QTableView*>();
    EXPECT_FALSE(table->isVisible());
    QTest::mouseClick(button(window, "Details"), Qt::LeftButton);
    EXPECT_TRUE(table->isVisible());

    beginRun(300);
    transfer(0);
    transfer(1, false);
    for (std::size_t i = 2; i < 200; ++i)
        transfer(i);
    window.refresh();
    const auto& shown = window.itemsModel();
    const auto stateAt = [&](int row) {
        return shown.index(row, SyncItemsModel::stateColumn).data().toString().toStdString();
    };
    EXPECT_EQ(stateAt(0), "Done");
    EXPECT_EQ(stateAt(1), "Not done");
    EXPECT_EQ(stateAt(200), "Under way");
    EXPECT_EQ(stateAt(201), "Waiting");
    EXPECT_TRUE(shows(window, "199 done, 1 not done, 100 to go"));
    // The view lays new rows out when it is idle.
    QApplication::processEvents();
    window.refresh();
    EXPECT_TRUE(table->viewport()->rect().intersects(table->visualRect(shown.index(200, 0))));
    items.endRun();
    items.resetSyncList();
    window.refresh();
    EXPECT_EQ(shown.rowCount(), 0);
}

TEST_F(ProgressWindowTest, AHundredThousandItemsCostByWhatChanged)
{
    ProgressWindow window(model, items);
    window.show();
    QTest::mouseClick(button(window, "Details"), Qt::LeftButton);
    constexpr std::size_t count = 100000;
    beginRun(count);
    window.refresh();
    QApplication::processEvents();
    const auto& shown = window.itemsModel();
    ASSERT_EQ(shown.rowCount(), static_cast<int>(count));

    QSignalSpy changed(&shown, &QAbstractItemModel::dataChanged);
    PaintCount paints(&window);
    constexpr int looks = 50;
    constexpr std::size_t perLook = count / looks;
    for (std::size_t i = 0; i < count; ++i) {
        transfer(i);
        if (i % perLook != perLook - 1) continue;
        window.refresh();
        QApplication::processEvents();
    }
    // A look tells the view one range, which spans no more than was done since the last look and the row begun.
    ASSERT_EQ(changed.size(), looks);
    for (const auto& arguments : changed) {
        const auto rows = arguments[1].toModelIndex().row() - arguments[0].toModelIndex().row() + 1;
        EXPECT_LE(rows, static_cast<int>(perLook) + 1);
    }
    // The timer may have added looks of its own, which find nothing new to tell the table.
    EXPECT_GT(paints.count, 0);
    EXPECT_LE(paints.count, 3 * looks);
    EXPECT_EQ(shown.count(SyncItems::State::done), count);
}

TEST_F(ProgressWindowTest, LooksOnlyWhileVisible)
{
    ProgressWindow window(model, items);
    model.setPercentProgress(0, "before");
    window.show();
    EXPECT_TRUE(shows(window, "before"));
    window.hide();
    model.setPercentProgress(0, "meanwhile");
    QApplication::processEvents();
    EXPECT_FALSE(shows(window, "meanwhile"));
    window.show();
    EXPECT_TRUE(shows(window, "meanwhile"));
    model.setPercentProgress(0, "later");
    EXPECT_TRUE(QTest::qWaitFor([&] { return shows(window, "later"); }));
}

} // namespace
} // namespace tidemark::qt
