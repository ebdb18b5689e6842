#include "app/qt/progress/SyncListWindow.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QPushButton>
#include <QStackedLayout>
#include <QTreeView>
#include <QVBoxLayout>

#include "app/qt/Texts.h"
#include "app/qt/progress/ChangeListModel.h"
#include "app/qt/progress/ItemTexts.h"
#include "app/qt/progress/PathDelegate.h"

namespace tidemark::qt {

namespace {

constexpr std::string_view table = "Progress";

std::string number(std::size_t count)
{
    return toUtf8(QLocale().toString(static_cast<qulonglong>(count)));
}

QLabel* makeLabel(const char* key, QWidget* buddy)
{
    auto* label = new QLabel(text(table, key));
    label->setBuddy(buddy);
    return label;
}

/// The chosen enumerator, or nothing for "all".
template <class Enum>
std::optional<Enum> chosen(const QComboBox& box)
{
    const auto value = box.currentData();
    return value.isValid() ? std::optional(static_cast<Enum>(value.toInt())) : std::nullopt;
}

} // namespace

SyncListWindow::SyncListWindow(QWidget* parent) : DismissibleWindow(parent), model_(new ChangeListModel(this))
{
    setWindowTitle(text(table, "LIST_TITLE"));
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(makeFilter());
    layout->addWidget(makeList(), 1);
    layout->addWidget(makeButtons());
    showState();
    resize(tree_->header()->length() - tree_->columnWidth(ChangeListModel::pathColumn) +
               fontMetrics().averageCharWidth() * 70,
           fontMetrics().lineSpacing() * 30);
}

QWidget* SyncListWindow::makeFilter()
{
    auto* filter = new QWidget;
    auto* layout = new QHBoxLayout(filter);
    layout->setContentsMargins({});
    filterText_ = new QLineEdit;
    filterText_->setPlaceholderText(text(table, "FILTER_TEXT_PLACEHOLDER"));
    filterText_->setClearButtonEnabled(true);
    filterDirection_ = new QComboBox;
    filterDirection_->addItem(text(table, "ALL_DIRECTIONS"));
    for (const auto direction : {Direction::up, Direction::down, Direction::conflict})
        filterDirection_->addItem(directionText(direction), static_cast<int>(direction));
    filterChange_ = new QComboBox;
    filterChange_->addItem(text(table, "ALL_CHANGES"));
    for (const auto change : {Change::created, Change::updated, Change::deleted})
        filterChange_->addItem(changeText(change), static_cast<int>(change));
    layout->addWidget(makeLabel("FILTER_TEXT", filterText_));
    layout->addWidget(filterText_, 1);
    layout->addWidget(makeLabel("FILTER_DIRECTION", filterDirection_));
    layout->addWidget(filterDirection_);
    layout->addWidget(makeLabel("FILTER_CHANGE", filterChange_));
    layout->addWidget(filterChange_);
    connect(filterText_, &QLineEdit::textChanged, this, &SyncListWindow::applyFilter);
    connect(filterDirection_, &QComboBox::currentIndexChanged, this, &SyncListWindow::applyFilter);
    connect(filterChange_, &QComboBox::currentIndexChanged, this, &SyncListWindow::applyFilter);
    return filter;
}

QWidget* SyncListWindow::makeList()
{
    auto* list = new QWidget;
    pages_ = new QStackedLayout(list);
    tree_ = new QTreeView;
    tree_->setModel(model_);
    tree_->setAccessibleName(text(table, "LIST_ACCESSIBLE"));
    tree_->setUniformRowHeights(true);
    tree_->setAllColumnsShowFocus(true);
    tree_->setItemDelegateForColumn(ChangeListModel::pathColumn, new PathDelegate(tree_));
    tree_->header()->setStretchLastSection(false);
    tree_->header()->setSectionResizeMode(ChangeListModel::pathColumn, QHeaderView::Stretch);
    empty_ = new QLabel;
    empty_->setAlignment(Qt::AlignCenter);
    empty_->setWordWrap(true);
    pages_->addWidget(tree_);
    pages_->addWidget(empty_);
    return list;
}

QWidget* SyncListWindow::makeButtons()
{
    auto* buttons = new QWidget;
    auto* layout = new QVBoxLayout(buttons);
    layout->setContentsMargins({});
    whole_ = new QLabel(text(table, "LIST_WHOLE"));
    whole_->setWordWrap(true);
    layout->addWidget(whole_);
    auto* row = new QHBoxLayout;
    count_ = new QLabel;
    synchronize_ = new QPushButton(text(table, "SYNCHRONIZE_SHOWN"));
    connect(synchronize_, &QPushButton::clicked, this, &SyncListWindow::requestSynchronize);
    auto* close = new QPushButton(text(table, "CLOSE"));
    connect(close, &QPushButton::clicked, this, &QWidget::close);
    row->addWidget(count_);
    row->addStretch(1);
    row->addWidget(synchronize_);
    row->addWidget(close);
    layout->addLayout(row);
    return buttons;
}

void SyncListWindow::addList(const std::string& configuration, std::vector<SyncItem> items)
{
    model_->setGroup(configuration, std::move(items));
    showState();
}

void SyncListWindow::resetSyncList()
{
    model_->clear();
    showState();
}

void SyncListWindow::applyFilter()
{
    const auto part = filterText_->text();
    const auto direction = chosen<Direction>(*filterDirection_);
    const auto change = chosen<Change>(*filterChange_);
    model_->setFilter([=](const SyncItem& item) {
        return (!direction || item.direction == *direction) && (!change || item.change == *change) &&
               (part.isEmpty() || fromUtf8(item.path).contains(part, Qt::CaseInsensitive));
    });
    showState();
}

void SyncListWindow::showState()
{
    const auto& list = model_->list();
    const auto shown = list.shownCount();
    const auto count = list.itemCount();
    pages_->setCurrentWidget(shown > 0 ? static_cast<QWidget*>(tree_) : empty_);
    empty_->setText(text(table, count > 0 ? "LIST_NOTHING_SHOWN" : "LIST_EMPTY"));
    count_->setText(shown == count
                        ? text(table, "LIST_COUNT", {{"count", number(count)}})
                        : text(table, "LIST_SHOWN_COUNT", {{"shown", number(shown)}, {"count", number(count)}}));
    count_->setVisible(count > 0);
    whole_->setVisible(list.hidesSomeOfShown());
    synchronize_->setEnabled(shown > 0);
    tree_->expandAll();
    for (int row = 0; row < model_->rowCount(); ++row)
        tree_->setFirstColumnSpanned(row, {}, true);
    fitColumns();
}

/// By what the columns can hold, not by a look at every row.
void SyncListWindow::fitColumns()
{
    const auto metrics = tree_->fontMetrics();
    const auto time = timeText(dates::toSeconds(std::chrono::system_clock::now()));
    for (const auto& [column, sample] :
         {std::pair(ChangeListModel::directionColumn, directionText(Direction::down)),
          std::pair(ChangeListModel::changeColumn, changeText(Change::updated)),
          std::pair(ChangeListModel::sizeColumn, QLocale().formattedDataSize(1023LL << 30, 1)),
          std::pair(ChangeListModel::localTimeColumn, time), std::pair(ChangeListModel::serverTimeColumn, time)}) {
        const auto title = model_->headerData(column, Qt::Horizontal, Qt::DisplayRole).toString();
        const auto widest = std::max(metrics.horizontalAdvance(sample), metrics.horizontalAdvance(title));
        tree_->setColumnWidth(column, widest + metrics.averageCharWidth() * 4);
    }
}

void SyncListWindow::requestSynchronize()
{
    QStringList names;
    for (const auto& name : model_->list().shownConfigurations())
        names += fromUtf8(name);
    emit synchronizeRequested(names);
}

} // namespace tidemark::qt
