#include "app/qt/logs/ReportDialog.h"

#include <QDate>
#include <QDir>
#include <QFileDialog>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QLocale>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSplitter>
#include <QStandardPaths>
#include <QVBoxLayout>

#include "app/qt/Texts.h"

namespace tidemark::qt {

namespace {

constexpr std::string_view table = "LogViewer";

std::vector<std::pair<std::string, std::string>> desktopVersions()
{
    return {{"Qt", qVersion()},
            {"Platform", toUtf8(QGuiApplication::platformName())},
            {"Desktop", qgetenv("XDG_CURRENT_DESKTOP").toStdString()}};
}

QString suggestedPath()
{
    const QDir documents(QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation));
    const auto folder = documents.exists() ? documents : QDir::home();
    const auto name = "tidemark-report-" + QDate::currentDate().toString(Qt::ISODate) + ".zip";
    return folder.filePath(name);
}

} // namespace

ReportDialog::ReportDialog(BXSyncConfigManager& store, const BXSyncGlobalConf& settings, QWidget* parent)
    : QDialog(parent)
{
    setWindowTitle(text(table, "REPORT_TITLE"));
    pool_.setMaxThreadCount(1);
    auto* layout = new QVBoxLayout(this);
    auto* about = new QLabel(text(table, "REPORT_ABOUT"));
    about->setWordWrap(true);
    entries_ = new QListWidget;
    entries_->setAccessibleName(text(table, "REPORT_ENTRIES"));
    entries_->setTextElideMode(Qt::ElideMiddle);
    entries_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    preview_ = new QPlainTextEdit;
    preview_->setReadOnly(true);
    preview_->setTabChangesFocus(true);
    preview_->setLineWrapMode(QPlainTextEdit::NoWrap);
    preview_->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    preview_->setAccessibleName(text(table, "REPORT_PREVIEW"));
    auto* splitter = new QSplitter;
    splitter->setChildrenCollapsible(false);
    splitter->addWidget(entries_);
    splitter->addWidget(preview_);
    splitter->setStretchFactor(1, 1);
    splitter->setSizes({fontMetrics().averageCharWidth() * 65, fontMetrics().averageCharWidth() * 85});
    result_ = new QLabel;
    result_->setTextFormat(Qt::PlainText);
    result_->setWordWrap(true);
    save_ = new QPushButton(text(table, "REPORT_SAVE"));
    save_->setAutoDefault(false);
    save_->setEnabled(false);
    close_ = new QPushButton(text(table, "CANCEL"));
    close_->setDefault(true);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(save_);
    buttons->addWidget(close_);
    layout->addWidget(about);
    layout->addWidget(splitter, 1);
    layout->addWidget(result_);
    layout->addLayout(buttons);
    resize(fontMetrics().averageCharWidth() * 150, fontMetrics().lineSpacing() * 26);
    connect(entries_, &QListWidget::currentRowChanged, this, &ReportDialog::showPreview);
    connect(save_, &QPushButton::clicked, this, &ReportDialog::choosePath);
    connect(close_, &QPushButton::clicked, this, &QDialog::reject);
    result_->setText(text(table, "REPORT_COLLECTING"));
    makeReport(store, settings);
}

ReportDialog::~ReportDialog()
{
    cancelled_ = true;
    pool_.waitForDone();
}

void ReportDialog::makeReport(BXSyncConfigManager& store, const BXSyncGlobalConf& settings)
{
    pool_.start([this, &store, &settings, versions = desktopVersions()] {
        auto report = std::make_shared<const SupportReport>(SupportReport::Outside{store, settings, versions});
        QMetaObject::invokeMethod(
            this, [this, report] { showReport(report); }, Qt::QueuedConnection);
    });
}

void ReportDialog::showReport(std::shared_ptr<const SupportReport> report)
{
    report_ = std::move(report);
    for (const auto& entry : report_->entries())
        entries_->addItem(text(table, "REPORT_ENTRY",
                               {{"name", entry.name}, {"size", toUtf8(QLocale().formattedDataSize(entry.size, 1))}}));
    result_->clear();
    save_->setEnabled(true);
    entries_->setCurrentRow(0);
}

void ReportDialog::showPreview(int entry)
{
    if (entry < 0) return;
    pool_.start([this, report = report_, entry] {
        auto content = report->preview(static_cast<std::size_t>(entry));
        QMetaObject::invokeMethod(
            this,
            [this, entry, content = std::move(content)] {
                if (entries_->currentRow() == entry) preview_->setPlainText(fromUtf8(content));
            },
            Qt::QueuedConnection);
    });
}

void ReportDialog::choosePath()
{
    auto* dialog = new QFileDialog(this, text(table, "REPORT_TITLE"), suggestedPath(), text(table, "REPORT_TYPE"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setDefaultSuffix("zip");
    dialog->selectFile(suggestedPath());
    connect(dialog, &QFileDialog::fileSelected, this, &ReportDialog::saveTo);
    dialog->open();
}

void ReportDialog::saveTo(const QString& path)
{
    if (!report_) return;
    save_->setEnabled(false);
    result_->setText(text(table, "REPORT_SAVING"));
    pool_.start([this, report = report_, path] {
        const auto saved = report->save(toUtf8(path), [this] { return cancelled_.load(); });
        const auto error = saved ? std::nullopt : std::optional(saved.error());
        QMetaObject::invokeMethod(
            this, [this, path, error] { showSaved(path, error); }, Qt::QueuedConnection);
    });
}

void ReportDialog::showSaved(const QString& path, const std::optional<Error>& error)
{
    save_->setEnabled(true);
    if (error) {
        result_->setText(text(table, "REPORT_FAILED", {{"error", error->description()}}));
        return;
    }
    result_->setText(text(table, "REPORT_SAVED", {{"path", toUtf8(path)}}));
    close_->setText(text(table, "CLOSE"));
}

} // namespace tidemark::qt
