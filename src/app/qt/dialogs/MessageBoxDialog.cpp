#include "app/qt/dialogs/MessageBoxDialog.h"

#include <QLabel>
#include <QProgressBar>
#include <QTimer>
#include <QVBoxLayout>

#include "app/qt/Texts.h"

namespace tidemark::qt {

namespace {

constexpr int tickMilliseconds = 100;
constexpr int barSteps = 1000;

QStyle::StandardPixmap iconFor(BXSyncConfirmType type)
{
    switch (type) {
    case BXSyncConfirmType::deletion:
    case BXSyncConfirmType::conflict:
        return QStyle::SP_MessageBoxQuestion;
    case BXSyncConfirmType::fileError:
    case BXSyncConfirmType::message:
        return QStyle::SP_MessageBoxWarning;
    }
    return QStyle::SP_MessageBoxWarning;
}

} // namespace

MessageBoxDialog::MessageBoxDialog(const std::string& titleKey, const BXSyncConfirmInfo& info, const Clock& clock,
                                   QWidget* parent)
    : QuestionDialog(BXSyncMessageBoxModel(titleKey, info), iconFor(info.type), parent), clock_(clock)
{
    if (model().hasCountdown()) addCountdown();
}

void MessageBoxDialog::addCountdown()
{
    auto* box = new QWidget;
    auto* layout = new QVBoxLayout(box);
    layout->setContentsMargins({});
    remaining_ = new QLabel;
    bar_ = new QProgressBar;
    bar_->setRange(0, barSteps);
    bar_->setTextVisible(false);
    layout->addWidget(remaining_);
    layout->addWidget(bar_);
    addContent(box);
    timer_ = new QTimer(this);
    timer_->setInterval(tickMilliseconds);
    connect(timer_, &QTimer::timeout, this, &MessageBoxDialog::tick);
    connect(this, &QDialog::finished, timer_, &QTimer::stop);
}

void MessageBoxDialog::showEvent(QShowEvent* event)
{
    QuestionDialog::showEvent(event);
    // Coming back from minimised is a showing, too, but no new beginning.
    if (!timer_ || timer_->isActive()) return;
    shown_ = clock_.steadyNow();
    timer_->start();
    tick();
}

void MessageBoxDialog::tick()
{
    const auto state = model().countdown(clock_.steadyNow() - shown_);
    bar_->setValue(static_cast<int>(state.fraction * barSteps));
    remaining_->setText(fromUtf8(state.label));
    bar_->setAccessibleName(remaining_->text());
    if (state.ended) endWith(model().timeoutIndex());
}

} // namespace tidemark::qt
