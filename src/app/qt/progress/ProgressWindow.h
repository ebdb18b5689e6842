#pragma once

#include <QTimer>

#include "app/BXSyncProgressModel.h"
#include "app/qt/DismissibleWindow.h"

class QCheckBox;
class QLabel;
class QProgressBar;
class QPushButton;
class QTableView;
class QToolButton;

namespace tidemark {
class SyncItems;
}

namespace tidemark::qt {

class ElidedLabel;
class SyncItemsModel;

/// Follows a running sequence: both bars, what is under way, speed, remaining time, and on demand the items. Looks at
/// the models every 100 ms while it is visible, and not at all otherwise. Closing it hides it; the sync goes on.
class ProgressWindow : public DismissibleWindow
{
    Q_OBJECT

public:
    static constexpr int refreshMilliseconds = 100;

    /// Both outlive the window.
    ProgressWindow(BXSyncProgressModel& model, SyncItems& items, QWidget* parent = nullptr);
    ~ProgressWindow() override;

    /// Shows what the models hold at this moment; the timer's work.
    void refresh();
    const SyncItemsModel& itemsModel() const { return *itemsModel_; }

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    QWidget* makeProgress();
    QWidget* makeDetails();
    QWidget* makeButtons();
    void cancelSync();
    void setDetailsShown(bool shown);
    void showSnapshot(const BXSyncProgressModel::Snapshot& snapshot);
    void showCancel(bool canceled);
    void showItems();

    BXSyncProgressModel& model_;
    SyncItemsModel* const itemsModel_;
    QTimer timer_;
    ElidedLabel* label_ = nullptr;
    QProgressBar* overallBar_ = nullptr;
    ElidedLabel* overall_ = nullptr;
    QLabel* overallPercent_ = nullptr;
    ElidedLabel* operation_ = nullptr;
    ElidedLabel* counter_ = nullptr;
    QProgressBar* fileBar_ = nullptr;
    QLabel* filePercent_ = nullptr;
    ElidedLabel* size_ = nullptr;
    QLabel* remaining_ = nullptr;
    QWidget* details_ = nullptr;
    QTableView* table_ = nullptr;
    ElidedLabel* counts_ = nullptr;
    QCheckBox* follow_ = nullptr;
    QToolButton* detailsSwitch_ = nullptr;
    QPushButton* cancel_ = nullptr;
};

} // namespace tidemark::qt
