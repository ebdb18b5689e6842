#pragma once

#include "app/qt/dialogs/QuestionDialog.h"
#include "platform/Clock.h"

class QLabel;
class QProgressBar;
class QTimer;

namespace tidemark::qt {

/// The general message box: a text, up to three buttons, and a countdown where the question has one. It ends by itself
/// when that has run out.
class MessageBoxDialog : public QuestionDialog
{
public:
    /// `clock` outlives the dialog.
    MessageBoxDialog(const std::string& titleKey, const BXSyncConfirmInfo& info, const Clock& clock = Clock::system(),
                     QWidget* parent = nullptr);

protected:
    void showEvent(QShowEvent* event) override;

private:
    void addCountdown();
    void tick();

    const Clock& clock_;
    /// Null without a countdown.
    QProgressBar* bar_ = nullptr;
    QLabel* remaining_ = nullptr;
    QTimer* timer_ = nullptr;
    Clock::SteadyTime shown_;
};

} // namespace tidemark::qt
