#pragma once

#include <QDialog>
#include <QElapsedTimer>
#include <QTimer>

#include "app/BXSyncMessageBoxModel.h"

class QBoxLayout;
class QCheckBox;
class QLabel;
class QProgressBar;

namespace tidemark::qt {

/// A question of a run: up to three buttons, a check box that takes the answer for all that follow, a countdown. Escape
/// and the window's close button are its harmless button.
class MessageBoxDialog : public QDialog
{
    Q_OBJECT

public:
    static constexpr int tickMilliseconds = 100;

    explicit MessageBoxDialog(BXSyncMessageBoxModel model, QWidget* parent = nullptr);

    /// Asks and waits.
    std::optional<BXSyncConfirmResult> ask();

    /// The countdown as of `elapsed`; the timer's work.
    void tick(std::chrono::duration<double> elapsed);
    /// After the end.
    std::optional<BXSyncConfirmResult> answer() const;

    void reject() override;

private:
    void end(std::int64_t index);
    void addCountdown(QBoxLayout& layout);
    QBoxLayout* makeButtons();

    const BXSyncMessageBoxModel model_;
    std::int64_t index_ = BXSyncMessageBoxModel::noIndex;
    QCheckBox* persistence_ = nullptr;
    QProgressBar* countdownBar_ = nullptr;
    QLabel* countdownText_ = nullptr;
    QTimer timer_;
    QElapsedTimer elapsed_;
};

} // namespace tidemark::qt
