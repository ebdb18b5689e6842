#include "app/qt/logs/LogViewer.h"

#include <QAction>
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QDate>
#include <QDesktopServices>
#include <QDir>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QPushButton>
#include <QScrollBar>
#include <QShortcut>
#include <QSignalBlocker>
#include <QTableView>
#include <QUrl>
#include <QVBoxLayout>

#include "app/qt/Texts.h"
#include "app/qt/logs/LogLinesModel.h"
#include "app/qt/logs/ReportDialog.h"
#include "app/qt/progress/PathDelegate.h"
#include "config/BXSyncConfigManager.h"
#include "config/BXSyncGlobalConf.h"

namespace tidemark::qt {

namespace {

constexpr std::string_view table = "LogViewer";

QLabel* makeLabel(const char* key, QWidget* buddy)
{
    auto* label = new QLabel(text(table, key));
    label->setBuddy(buddy);
    return label;
}

/// The day out of "…_yyyy-MM-dd.log", in the user's form.
QString dayText(const std::string& path)
{
    const auto name = fromUtf8(path);
    const auto end = name.endsWith(".log") ? name.size() - 4 : name.size();
    const auto day = QDate::fromString(name.mid(end - 10, 10), Qt::ISODate);
    return day.isValid() ? QLocale().toString(day, QLocale::ShortFormat) : name.section('/', -1);
}

} // namespace

LogViewer::LogViewer(BXSyncConfigManager& store, QWidget* parent)
    : LogViewer(store, BXSyncGlobalConf::getInstance(), parent)
{
}

LogViewer::LogViewer(BXSyncConfigManager& store, const BXSyncGlobalConf& settings, QWidget* parent)
    : DismissibleWindow(parent), store_(store), settings_(settings), model_(new LogLinesModel(this))
{
    setWindowTitle(text(table, "TITLE"));
    pool_.setMaxThreadCount(1);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(makeChoice());
    layout->addWidget(makeTable(), 1);
    layout->addWidget(makeButtons());
    resize(fontMetrics().averageCharWidth() * 165, fontMetrics().lineSpacing() * 30);
    auto* copy = new QShortcut(QKeySequence::Copy, table_);
    copy->setContext(Qt::WidgetShortcut);
    connect(copy, &QShortcut::activated, this, &LogViewer::copySelected);
    timer_.setInterval(lookMilliseconds);
    connect(&timer_, &QTimer::timeout, this, [this] { look(Look::forward); });
    loadSources();
}

LogViewer::~LogViewer()
{
    pool_.waitForDone();
}

QWidget* LogViewer::makeChoice()
{
    auto* choice = new QWidget;
    auto* layout = new QHBoxLayout(choice);
    layout->setContentsMargins({});
    log_ = new QComboBox;
    day_ = new QComboBox;
    day_->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    level_ = new QComboBox;
    for (const auto& [key, level] : {std::pair("FILTER_ALL", LogLevel::verbose),
                                     {"FILTER_INFO", LogLevel::info},
                                     {"FILTER_WARNING", LogLevel::warning},
                                     {"FILTER_ERROR", LogLevel::error}})
        level_->addItem(text(table, key), static_cast<unsigned>(level));
    part_ = new QLineEdit;
    part_->setClearButtonEnabled(true);
    for (const auto& [key, field] :
         {std::pair<const char*, QWidget*>("LOG", log_), {"DAY", day_}, {"LEVEL", level_}, {"FIND", part_}}) {
        layout->addWidget(makeLabel(key, field));
        layout->addWidget(field, field == part_ ? 1 : 0);
    }
    connect(log_, &QComboBox::currentIndexChanged, this, [this] {
        hint_.clear();
        sourceChosen();
    });
    connect(day_, &QComboBox::currentIndexChanged, this, &LogViewer::fileChosen);
    connect(level_, &QComboBox::currentIndexChanged, this, &LogViewer::applyFilter);
    connect(part_, &QLineEdit::textChanged, this, &LogViewer::applyFilter);
    return choice;
}

QWidget* LogViewer::makeTable()
{
    auto* holder = new QWidget;
    auto* layout = new QVBoxLayout(holder);
    layout->setContentsMargins({});
    message_ = new QLabel;
    message_->setTextFormat(Qt::PlainText);
    message_->setWordWrap(true);
    table_ = new QTableView;
    table_->setModel(model_);
    table_->setAccessibleName(text(table, "LINES"));
    table_->setSelectionBehavior(QAbstractItemView::SelectRows);
    table_->setTabKeyNavigation(false);
    table_->setShowGrid(false);
    table_->setWordWrap(false);
    table_->verticalHeader()->hide();
    table_->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    table_->verticalHeader()->setDefaultSectionSize(table_->fontMetrics().lineSpacing() * 5 / 4);
    table_->horizontalHeader()->setHighlightSections(false);
    table_->horizontalHeader()->setDefaultAlignment(Qt::AlignLeading | Qt::AlignVCenter);
    table_->horizontalHeader()->setSectionResizeMode(LogLinesModel::messageColumn, QHeaderView::Stretch);
    table_->setItemDelegateForColumn(LogLinesModel::messageColumn, new PathDelegate(table_));
    const auto wide = [this](const QString& sample) {
        return table_->fontMetrics().horizontalAdvance(sample) + table_->fontMetrics().averageCharWidth() * 3;
    };
    table_->setColumnWidth(LogLinesModel::timeColumn, wide("2026/12/28 00:00:00.000"));
    table_->setColumnWidth(LogLinesModel::levelColumn, wide(levelText(LogLevel::warning)));
    table_->setColumnWidth(LogLinesModel::placeColumn, wide("SyncLibrary/BXSyncManager(100)"));
    layout->addWidget(message_);
    layout->addWidget(table_, 1);
    return holder;
}

QWidget* LogViewer::makeButtons()
{
    auto* buttons = new QWidget;
    auto* layout = new QHBoxLayout(buttons);
    layout->setContentsMargins({});
    follow_ = new QCheckBox(text(table, "FOLLOW"));
    follow_->setChecked(true);
    earlier_ = new QPushButton(text(table, "EARLIER"));
    auto* folder = new QPushButton(text(table, "OPEN_FOLDER"));
    auto* report = new QPushButton(text(table, "SAVE_REPORT"));
    auto* close = new QPushButton(text(table, "CLOSE"));
    connect(earlier_, &QPushButton::clicked, this, [this] { look(Look::backward); });
    connect(folder, &QPushButton::clicked, this, &LogViewer::openFolder);
    connect(report, &QPushButton::clicked, this, &LogViewer::saveReport);
    connect(close, &QPushButton::clicked, this, &QWidget::close);
    layout->addWidget(follow_);
    layout->addWidget(earlier_);
    layout->addStretch(1);
    layout->addWidget(folder);
    layout->addWidget(report);
    layout->addWidget(close);
    return buttons;
}

bool LogViewer::loadSources()
{
    sources_ = logSources(store_);
    const auto previous = log_->currentData();
    const QSignalBlocker blocker(log_);
    log_->clear();
    for (const auto& known : sources_)
        log_->addItem(known.configuration.empty() ? text(table, "PROGRAM") : fromUtf8(known.configuration),
                      fromUtf8(known.configuration));
    log_->setCurrentIndex(std::max(log_->findData(previous), 0));
    return log_->currentData() != previous;
}

const LogSource* LogViewer::source() const
{
    const auto index = log_->currentIndex();
    return index >= 0 ? &sources_[static_cast<std::size_t>(index)] : nullptr;
}

void LogViewer::showConfiguration(const std::string& name)
{
    loadSources();
    const auto index = log_->findData(fromUtf8(name));
    {
        const QSignalBlocker blocker(log_);
        log_->setCurrentIndex(std::max(index, 0));
    }
    hint_ = index < 0 ? text(table, "NO_LOG", {{"name", name}}) : QString();
    sourceChosen();
}

void LogViewer::showEvent(QShowEvent* event)
{
    DismissibleWindow::showEvent(event);
    if (loadSources() || !reader_) sourceChosen();
    timer_.start();
}

void LogViewer::hideEvent(QHideEvent* event)
{
    DismissibleWindow::hideEvent(event);
    timer_.stop();
}

void LogViewer::sourceChosen()
{
    files_.clear();
    {
        const QSignalBlocker blocker(day_);
        day_->clear();
    }
    open(nullptr);
}

void LogViewer::fileChosen()
{
    const auto index = day_->currentIndex();
    if (index >= 0) open(std::make_shared<LogFileReader>(files_[static_cast<std::size_t>(index)]));
}

void LogViewer::open(std::shared_ptr<LogFileReader> reader)
{
    reader_ = std::move(reader);
    hasEarlier_ = false;
    model_->clear();
    post(Look::forward);
    showState();
}

void LogViewer::look(Look direction)
{
    if (looks_ == 0) post(direction);
}

void LogViewer::post(Look direction)
{
    if (!source()) return;
    ++looks_;
    pool_.start([this, found = Found{*source(), {}, reader_, direction, {}, false}]() mutable {
        found.files = found.source.files();
        if (found.reader) {
            found.piece = found.look == Look::forward ? found.reader->forward() : found.reader->backward();
            found.hasEarlier = found.reader->hasEarlier();
        }
        QMetaObject::invokeMethod(
            this, [this, found = std::move(found)] { take(found); }, Qt::QueuedConnection);
    });
}

/// Finds of a log or a file that is not shown any more are dropped.
void LogViewer::take(const Found& found)
{
    --looks_;
    if (!source() || !(found.source == *source())) return;
    if (found.reader && found.reader == reader_) takePiece(found);
    takeFiles(found.files);
    showState();
}

void LogViewer::takeFiles(std::vector<std::string> files)
{
    if (files == files_) return;
    const bool wasNewest = day_->currentIndex() <= 0;
    const auto chosen = day_->currentData();
    files_ = std::move(files);
    {
        const QSignalBlocker blocker(day_);
        day_->clear();
        for (const auto& path : files_)
            day_->addItem(dayText(path), fromUtf8(path));
        day_->setCurrentIndex(wasNewest ? 0 : std::max(day_->findData(chosen), 0));
    }
    if (day_->currentData() != chosen) fileChosen();
}

void LogViewer::takePiece(const Found& found)
{
    hasEarlier_ = found.hasEarlier;
    if (found.look == Look::backward) {
        const auto* top = table_->verticalScrollBar();
        const auto before = model_->rowCount();
        const auto at = top->value();
        model_->prepend(found.piece.lines);
        table_->verticalScrollBar()->setValue(at + model_->rowCount() - before);
        return;
    }
    if (found.piece.restarted) model_->clear();
    model_->append(found.piece.lines);
    if (found.piece.more) post(Look::forward);
    if (follow_->isChecked() && !found.piece.lines.empty()) table_->scrollToBottom();
}

void LogViewer::applyFilter()
{
    model_->setFilter(static_cast<LogLevel>(level_->currentData().toUInt()), part_->text());
    if (follow_->isChecked()) table_->scrollToBottom();
    showState();
}

void LogViewer::showState()
{
    auto message = hint_;
    if (message.isEmpty() && looks_ == 0 && files_.empty()) message = text(table, "EMPTY");
    if (message.isEmpty() && model_->lineCount() > 0 && model_->rowCount() == 0) message = text(table, "NOTHING_SHOWN");
    message_->setText(message);
    message_->setVisible(!message.isEmpty());
    earlier_->setEnabled(hasEarlier_ && !model_->isFull());
    day_->setEnabled(!files_.empty());
}

void LogViewer::copySelected() const
{
    QStringList lines;
    for (const auto& index : table_->selectionModel()->selectedRows())
        lines += model_->wholeLine(index.row());
    if (!lines.empty()) QGuiApplication::clipboard()->setText(lines.join('\n') + "\n");
}

void LogViewer::openFolder()
{
    const auto* chosen = source();
    if (!chosen) return;
    const auto folder = fromUtf8(chosen->folder);
    // The desktop's own opener says nothing of a folder that is not there.
    const bool opened = QDir(folder).exists() && QDesktopServices::openUrl(QUrl::fromLocalFile(folder));
    hint_ = opened ? QString() : text(table, "FOLDER_FAILED", {{"folder", chosen->folder}});
    showState();
}

void LogViewer::saveReport()
{
    auto* dialog = new ReportDialog(store_, settings_, this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->open();
}

} // namespace tidemark::qt
