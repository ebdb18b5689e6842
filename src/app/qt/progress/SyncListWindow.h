#pragma once

#include <string>
#include <vector>

#include <QStringList>

#include "app/SyncItem.h"
#include "app/qt/DismissibleWindow.h"

class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QStackedLayout;
class QTreeView;

namespace tidemark::qt {

class ChangeListModel;

/// The listed changes of each configuration, to look at before they are carried out. Main thread.
class SyncListWindow : public DismissibleWindow
{
    Q_OBJECT

public:
    explicit SyncListWindow(QWidget* parent = nullptr);

    /// Takes the place of what was listed of the configuration before.
    void addList(const std::string& configuration, std::vector<SyncItem> items);
    /// Forgets all lists; the filter stays.
    void resetSyncList();

signals:
    /// The configurations of which something is shown, in their order.
    void synchronizeRequested(const QStringList& names);

private:
    QWidget* makeFilter();
    QWidget* makeList();
    QWidget* makeButtons();
    void applyFilter();
    void showState();
    void fitColumns();
    void requestSynchronize();

    ChangeListModel* const model_;
    QLineEdit* filterText_ = nullptr;
    QComboBox* filterDirection_ = nullptr;
    QComboBox* filterChange_ = nullptr;
    QStackedLayout* pages_ = nullptr;
    QTreeView* tree_ = nullptr;
    QLabel* empty_ = nullptr;
    QLabel* count_ = nullptr;
    QLabel* whole_ = nullptr;
    QPushButton* synchronize_ = nullptr;
};

} // namespace tidemark::qt
