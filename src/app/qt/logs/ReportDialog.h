#pragma once

#include <atomic>
#include <memory>
#include <optional>

#include <QDialog>
#include <QThreadPool>

#include "app/SupportReport.h"

class QLabel;
class QListWidget;
class QPlainTextEdit;
class QPushButton;

namespace tidemark::qt {

/// Shows what a report for support holds, and saves it where the person says. The report is made, read and written on a
/// thread of its own; closing the dialog calls a writing off.
class ReportDialog : public QDialog
{
    Q_OBJECT

public:
    /// Both outlive the dialog.
    ReportDialog(BXSyncConfigManager& store, const BXSyncGlobalConf& settings, QWidget* parent = nullptr);
    ~ReportDialog() override;

    /// Writes the report there; the dialog says how it went.
    void saveTo(const QString& path);

private:
    void makeReport(BXSyncConfigManager& store, const BXSyncGlobalConf& settings);
    void showReport(std::shared_ptr<const SupportReport> report);
    void showPreview(int entry);
    void choosePath();
    void showSaved(const QString& path, const std::optional<Error>& error);

    std::shared_ptr<const SupportReport> report_;
    std::atomic<bool> cancelled_ = false;
    QListWidget* entries_ = nullptr;
    QPlainTextEdit* preview_ = nullptr;
    QLabel* result_ = nullptr;
    QPushButton* save_ = nullptr;
    QPushButton* close_ = nullptr;
    QThreadPool pool_;
};

} // namespace tidemark::qt
