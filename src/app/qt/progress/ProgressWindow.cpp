#include "app/qt/progress/ProgressWindow.h"

#include <cmath>

#include <QCheckBox>
#include <QGridLayout>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLocale>
#include <QProgressBar>
#include <QPushButton>
#include <QStyle>
#include <QTableView>
#include <QToolButton>
#include <QVBoxLayout>

#include "app/SyncItems.h"
#include "app/qt/ReadingOrder.h"
#include "app/qt/Texts.h"
#include "app/qt/progress/ElidedLabel.h"
#include "app/qt/progress/ItemTexts.h"
#include "app/qt/progress/PathDelegate.h"
#include "app/qt/progress/SyncItemsModel.h"

namespace tidemark::qt {

namespace {

constexpr std::string_view table = "Progress";
constexpr int barMaximum = 1000;

QProgressBar* makeBar(const char* accessibleNameKey)
{
    auto* bar = new QProgressBar;
    bar->setRange(0, barMaximum);
    bar->setAccessibleName(text(table, accessibleNameKey));
    bar->setTextVisible(false);
    return bar;
}

int barValue(double fraction)
{
    return static_cast<int>(std::floor(std::clamp(fraction, 0.0, 1.0) * barMaximum));
}

QLabel* makeTrailingLabel()
{
    auto* label = new QLabel;
    label->setTextFormat(Qt::PlainText);
    const bool rightToLeft = QGuiApplication::layoutDirection() == Qt::RightToLeft;
    label->setAlignment((rightToLeft ? Qt::AlignLeft : Qt::AlignRight) | Qt::AlignAbsolute | Qt::AlignVCenter);
    return label;
}

void showText(QLabel& label, const QString& text)
{
    if (text != label.text()) label.setText(text);
}

void showFraction(QProgressBar& bar, QLabel& percent, double fraction)
{
    bar.setValue(barValue(fraction));
    const auto whole = std::to_string(bar.value() * 100 / barMaximum);
    showText(percent, text(table, "PERCENT", {{"percent", whole}}));
}

QString number(std::size_t count)
{
    return QLocale().toString(static_cast<qulonglong>(count));
}

/// Room for `characters` average ones, whatever the font and the scale.
int widthOf(const QWidget& widget, int characters)
{
    return widget.fontMetrics().averageCharWidth() * characters;
}

} // namespace

ProgressWindow::ProgressWindow(BXSyncProgressModel& model, SyncItems& items, QWidget* parent)
    : DismissibleWindow(parent), model_(model), itemsModel_(new SyncItemsModel(items, this))
{
    setWindowTitle(text(table, "PROGRESS_TITLE"));
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(makeProgress());
    layout->addWidget(makeDetails(), 1);
    layout->addWidget(makeButtons());
    details_->hide();
    resize(std::max(widthOf(*this, 88), sizeHint().width()), sizeHint().height());
    // A coarse timer may fire early.
    timer_.setTimerType(Qt::PreciseTimer);
    timer_.setInterval(refreshMilliseconds);
    connect(&timer_, &QTimer::timeout, this, &ProgressWindow::refresh);
}

ProgressWindow::~ProgressWindow() = default;

QWidget* ProgressWindow::makeProgress()
{
    auto* progress = new QWidget;
    auto* layout = new QGridLayout(progress);
    layout->setContentsMargins({});
    layout->setColumnStretch(0, 1);
    label_ = new ElidedLabel(Qt::ElideRight);
    auto bold = label_->font();
    bold.setBold(true);
    label_->setFont(bold);
    overallBar_ = makeBar("OVERALL_BAR");
    overall_ = new ElidedLabel(Qt::ElideRight);
    operation_ = new ElidedLabel(Qt::ElideRight);
    counter_ = new ElidedLabel(Qt::ElideMiddle);
    fileBar_ = makeBar("CONFIGURATION_BAR");
    size_ = new ElidedLabel(Qt::ElideRight);
    overallPercent_ = makeTrailingLabel();
    filePercent_ = makeTrailingLabel();
    remaining_ = makeTrailingLabel();

    int row = 0;
    layout->addWidget(label_, row, 0);
    layout->addWidget(overallPercent_, row++, 1);
    layout->addWidget(overallBar_, row++, 0, 1, 2);
    layout->addWidget(overall_, row++, 0, 1, 2);
    layout->setRowMinimumHeight(row++, style()->pixelMetric(QStyle::PM_LayoutVerticalSpacing));
    layout->addWidget(operation_, row++, 0, 1, 2);
    layout->addWidget(counter_, row, 0);
    layout->addWidget(filePercent_, row++, 1);
    layout->addWidget(fileBar_, row++, 0, 1, 2);
    layout->addWidget(size_, row, 0);
    layout->addWidget(remaining_, row, 1);
    return progress;
}

QWidget* ProgressWindow::makeDetails()
{
    details_ = new QWidget;
    auto* layout = new QVBoxLayout(details_);
    layout->setContentsMargins({});
    table_ = new QTableView;
    table_->setModel(itemsModel_);
    table_->setAccessibleName(text(table, "ITEMS"));
    table_->setSelectionBehavior(QAbstractItemView::SelectRows);
    table_->setTabKeyNavigation(false);
    table_->setShowGrid(false);
    table_->setWordWrap(false);
    table_->setItemDelegateForColumn(SyncItemsModel::pathColumn, new PathDelegate(table_));
    table_->setMinimumHeight(table_->fontMetrics().lineSpacing() * 8);
    // Every row has one height, so that no look at the rows is needed to know where one lies.
    table_->verticalHeader()->hide();
    table_->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    table_->verticalHeader()->setDefaultSectionSize(table_->fontMetrics().lineSpacing() * 3 / 2);
    auto* header = table_->horizontalHeader();
    header->setHighlightSections(false);
    header->setDefaultAlignment(Qt::AlignLeading | Qt::AlignVCenter);
    header->setSectionResizeMode(SyncItemsModel::pathColumn, QHeaderView::Stretch);
    table_->setColumnWidth(SyncItemsModel::stateColumn, widthOf(*table_, 26));
    table_->setColumnWidth(SyncItemsModel::directionColumn, widthOf(*table_, 18));
    table_->setColumnWidth(SyncItemsModel::changeColumn, widthOf(*table_, 13));
    table_->setColumnWidth(SyncItemsModel::sizeColumn, widthOf(*table_, 13));
    layout->addWidget(table_, 1);

    auto* below = new QHBoxLayout;
    counts_ = new ElidedLabel(Qt::ElideRight);
    follow_ = new QCheckBox(text(table, "FOLLOW"));
    follow_->setChecked(true);
    below->addWidget(counts_, 1);
    below->addWidget(follow_);
    layout->addLayout(below);
    return details_;
}

QWidget* ProgressWindow::makeButtons()
{
    auto* buttons = new QWidget;
    auto* layout = new QHBoxLayout(buttons);
    layout->setContentsMargins({});
    detailsSwitch_ = new QToolButton;
    detailsSwitch_->setText(text(table, "DETAILS"));
    detailsSwitch_->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    detailsSwitch_->setFocusPolicy(Qt::StrongFocus);
    detailsSwitch_->setAutoRaise(true);
    detailsSwitch_->setCheckable(true);
    detailsSwitch_->setArrowType(Qt::DownArrow);
    connect(detailsSwitch_, &QToolButton::toggled, this, &ProgressWindow::setDetailsShown);
    cancel_ = new QPushButton(text(table, "CANCEL_SYNC"));
    connect(cancel_, &QPushButton::clicked, this, &ProgressWindow::cancelSync);
    auto* hide = new QPushButton(text(table, "HIDE"));
    hide->setToolTip(text(table, "HIDE_TIP"));
    connect(hide, &QPushButton::clicked, this, &QWidget::close);
    setDefaultButton(hide);
    layout->addWidget(detailsSwitch_);
    layout->addStretch(1);
    layout->addWidget(cancel_);
    layout->addWidget(hide);
    return buttons;
}

void ProgressWindow::cancelSync()
{
    model_.cancelSync();
    refresh();
}

void ProgressWindow::setDetailsShown(bool shown)
{
    detailsSwitch_->setArrowType(shown ? Qt::UpArrow : Qt::DownArrow);
    details_->setVisible(shown);
    if (shown) {
        showItems();
        resize(std::max(width(), widthOf(*this, 140)), std::max(height(), sizeHint().height()));
    } else {
        layout()->activate();
        resize(width(), minimumSizeHint().height());
    }
}

void ProgressWindow::showEvent(QShowEvent* event)
{
    DismissibleWindow::showEvent(event);
    refresh();
    timer_.start();
}

void ProgressWindow::hideEvent(QHideEvent* event)
{
    DismissibleWindow::hideEvent(event);
    timer_.stop();
}

void ProgressWindow::refresh()
{
    showSnapshot(model_.snapshot());
    showCancel(model_.canceled());
    if (details_->isVisibleTo(this)) showItems();
}

void ProgressWindow::showSnapshot(const BXSyncProgressModel::Snapshot& snapshot)
{
    const auto texts = BXSyncProgressModel::texts(snapshot);
    label_->showText(pathText(snapshot.label));
    showFraction(*overallBar_, *overallPercent_, snapshot.overallProgress);
    overall_->showText(fromUtf8(texts.overall));
    using Stage = BXSyncProgressModel::Stage;
    // The last item of one configuration is no longer under way while the next one signs in.
    const bool atItems = snapshot.stage != Stage::idle && snapshot.stage != Stage::listing;
    const auto otherwise = snapshot.stage == Stage::listing ? text(table, "LISTING") : QString();
    operation_->showText(atItems ? fromUtf8(texts.operation) : otherwise);
    counter_->showText(atItems ? leftToRight(pathText(texts.counter)) : QString());
    showFraction(*fileBar_, *filePercent_, snapshot.fileProgress);
    // Between two files nothing is known that is better than what was shown last.
    if (snapshot.stage == Stage::betweenItems) return;
    size_->showText(fromUtf8(texts.size));
    const auto remaining =
        texts.remainingTime.empty() ? QString() : text(table, "REMAINING", {{"time", texts.remainingTime}});
    showText(*remaining_, remaining);
}

void ProgressWindow::showCancel(bool canceled)
{
    if (cancel_->isEnabled() != canceled) return;
    cancel_->setEnabled(!canceled);
    cancel_->setText(text(table, canceled ? "CANCELING" : "CANCEL_SYNC"));
}

void ProgressWindow::showItems()
{
    using State = SyncItems::State;
    itemsModel_->takeNews();
    const auto open = itemsModel_->count(State::waiting) + itemsModel_->count(State::underWay);
    const auto failed = itemsModel_->count(State::notDone);
    counts_->showText(text(table, failed > 0 ? "COUNTS_WITH_FAILED" : "COUNTS",
                           {{"done", toUtf8(number(itemsModel_->count(State::done)))},
                            {"open", toUtf8(number(open))},
                            {"failed", toUtf8(number(failed))}}));
    const auto row = itemsModel_->rowUnderWay();
    if (follow_->isChecked() && row) table_->scrollTo(itemsModel_->index(*row, SyncItemsModel::pathColumn));
}

} // namespace tidemark::qt
