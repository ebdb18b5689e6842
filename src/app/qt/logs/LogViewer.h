#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <QThreadPool>
#include <QTimer>

#include "app/LogFiles.h"
#include "app/qt/DismissibleWindow.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QTableView;

namespace tidemark {
class BXSyncConfigManager;
class BXSyncGlobalConf;
} // namespace tidemark

namespace tidemark::qt {

class LogLinesModel;

/// The program's log and those of the configurations, day by day; the end of today's is followed. Files are listed and
/// read on a thread of its own, piece by piece, while the window is visible.
class LogViewer : public DismissibleWindow
{
    Q_OBJECT

public:
    static constexpr int lookMilliseconds = 500;

    /// Both outlive the window.
    LogViewer(BXSyncConfigManager& store, const BXSyncGlobalConf& settings, QWidget* parent = nullptr);
    /// With the user's settings.
    explicit LogViewer(BXSyncConfigManager& store, QWidget* parent = nullptr);
    ~LogViewer() override;

    /// Where the configuration keeps no log, says so.
    void showConfiguration(const std::string& name);
    const LogLinesModel& linesModel() const { return *model_; }

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    enum class Look
    {
        forward,
        backward
    };
    /// What a look at the disk has found.
    struct Found
    {
        LogSource source;
        std::vector<std::string> files;
        /// Null where there is no file to read.
        std::shared_ptr<LogFileReader> reader;
        Look look = Look::forward;
        LogFileReader::Piece piece;
        bool hasEarlier = false;
    };

    QWidget* makeChoice();
    QWidget* makeTable();
    QWidget* makeButtons();
    /// Whether another log than before is the chosen one.
    bool loadSources();
    void sourceChosen();
    void fileChosen();
    void open(std::shared_ptr<LogFileReader> reader);
    void look(Look direction);
    void take(const Found& found);
    void takeFiles(std::vector<std::string> files);
    void takePiece(const Found& found);
    void applyFilter();
    void showState();
    void post(Look direction);
    void copySelected() const;
    void openFolder();
    void saveReport();
    const LogSource* source() const;

    BXSyncConfigManager& store_;
    const BXSyncGlobalConf& settings_;
    LogLinesModel* const model_;
    std::vector<LogSource> sources_;
    /// The files of the chosen log, newest first.
    std::vector<std::string> files_;
    std::shared_ptr<LogFileReader> reader_;
    /// Looks under way.
    int looks_ = 0;
    bool hasEarlier_ = false;
    QTimer timer_;
    QComboBox* log_ = nullptr;
    QComboBox* day_ = nullptr;
    QComboBox* level_ = nullptr;
    QLineEdit* part_ = nullptr;
    QTableView* table_ = nullptr;
    QString hint_;
    QLabel* message_ = nullptr;
    QCheckBox* follow_ = nullptr;
    QPushButton* earlier_ = nullptr;
    /// One thread, so that looks follow one another.
    QThreadPool pool_;
};

} // namespace tidemark::qt
