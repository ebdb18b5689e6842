#include "app/qt/dialogs/MessageBoxDialog.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QStyle>
#include <QVBoxLayout>

#include "app/qt/Texts.h"
#include "app/qt/dialogs/ModalQuestion.h"

namespace tidemark::qt {

namespace {

constexpr int barSteps = 1000;
constexpr int widthInCharacters = 56;

QLabel* makeBody(const QString& content, int width)
{
    auto* body = new QLabel(content);
    body->setTextFormat(Qt::PlainText);
    body->setWordWrap(true);
    body->setMinimumWidth(width);
    body->setTextInteractionFlags(Qt::TextSelectableByMouse);
    return body;
}

QLabel* makeSign(const QWidget& dialog)
{
    const int size = dialog.style()->pixelMetric(QStyle::PM_MessageBoxIconSize);
    auto* sign = new QLabel;
    sign->setPixmap(dialog.style()->standardIcon(QStyle::SP_MessageBoxWarning).pixmap(size, size));
    return sign;
}

} // namespace

MessageBoxDialog::MessageBoxDialog(BXSyncMessageBoxModel model, QWidget* parent)
    : QDialog(parent), model_(std::move(model))
{
    setWindowTitle(fromUtf8(model_.title()));
    auto* content = new QVBoxLayout;
    content->addWidget(makeBody(fromUtf8(model_.body()), fontMetrics().averageCharWidth() * widthInCharacters));
    if (model_.hasCountdown()) addCountdown(*content);
    if (model_.hasCheckBox()) {
        persistence_ = new QCheckBox(text("TidemarkResource", "PERSISTENCE"));
        content->addWidget(persistence_);
    }
    auto* top = new QHBoxLayout;
    top->addWidget(makeSign(*this), 0, Qt::AlignTop);
    top->addLayout(content, 1);
    auto* layout = new QVBoxLayout(this);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    layout->addLayout(top);
    layout->addLayout(makeButtons());
}

void MessageBoxDialog::addCountdown(QBoxLayout& layout)
{
    countdownBar_ = new QProgressBar;
    countdownBar_->setRange(0, barSteps);
    countdownBar_->setTextVisible(false);
    countdownText_ = new QLabel;
    countdownBar_->setAccessibleDescription(text("TidemarkResource", "RECONNECT_TITLE"));
    layout.addWidget(countdownBar_);
    layout.addWidget(countdownText_);
    timer_.setInterval(tickMilliseconds);
    connect(&timer_, &QTimer::timeout, this,
            [this] { tick(std::chrono::duration<double, std::milli>(elapsed_.elapsed())); });
    tick({});
}

QBoxLayout* MessageBoxDialog::makeButtons()
{
    auto* row = new QHBoxLayout;
    row->addStretch();
    for (std::size_t i = 0; i < model_.buttons().size(); ++i) {
        const auto index = static_cast<std::int64_t>(i);
        auto* button = new QPushButton(fromUtf8(model_.buttons()[i]));
        button->setAutoDefault(false);
        button->setDefault(index == model_.defaultIndex());
        connect(button, &QPushButton::clicked, this, [this, index] { end(index); });
        row->addWidget(button);
    }
    return row;
}

std::optional<BXSyncConfirmResult> MessageBoxDialog::ask()
{
    elapsed_.start();
    if (model_.hasCountdown()) timer_.start();
    ModalQuestion::ask(*this);
    timer_.stop();
    return answer();
}

void MessageBoxDialog::tick(std::chrono::duration<double> elapsed)
{
    const auto countdown = model_.countdown(elapsed);
    countdownBar_->setValue(static_cast<int>(countdown.fraction * barSteps));
    countdownText_->setText(fromUtf8(countdown.label));
    if (countdown.ended) end(model_.timeoutIndex());
}

void MessageBoxDialog::end(std::int64_t index)
{
    timer_.stop();
    index_ = index;
    QDialog::accept();
}

void MessageBoxDialog::reject()
{
    end(model_.dismissIndex());
}

std::optional<BXSyncConfirmResult> MessageBoxDialog::answer() const
{
    return model_.result(index_, persistence_ && persistence_->isChecked());
}

} // namespace tidemark::qt
