#include "app/qt/MenuWindow.h"

#include <QApplication>
#include <QCloseEvent>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>

#include "app/qt/StatusMenu.h"
#include "app/qt/Texts.h"

namespace tidemark::qt {

namespace {

constexpr int iconSize = 32;

QLabel* makeText(const QString& content)
{
    auto* label = new QLabel(content);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    return label;
}

} // namespace

MenuWindow::MenuWindow(StatusMenu& menu, QWidget* parent)
    : QWidget(parent), icon_(new QLabel), state_(makeText({})), message_(makeText(text("Desktop", "NO_STATUS_AREA"))),
      show_(new QPushButton(text("Desktop", "NOTICE_SHOW")))
{
    setWindowTitle(QStringLiteral("Tidemark"));
    auto* open = new QPushButton(text("Desktop", "OPEN_MENU"));
    open->setMenu(&menu);
    open->setDefault(true);
    auto* layout = new QGridLayout(this);
    layout->addWidget(icon_, 0, 0, Qt::AlignTop);
    layout->addWidget(state_, 0, 1);
    layout->addWidget(message_, 1, 0, 1, 2);
    show_->hide();
    connect(show_, &QPushButton::clicked, this, [this] { open_(); });
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(show_);
    buttons->addWidget(open);
    layout->addLayout(buttons, 2, 0, 1, 2);
    layout->setColumnStretch(1, 1);
    layout->setRowStretch(1, 1);
    setMinimumWidth(fontMetrics().averageCharWidth() * 48);
}

void MenuWindow::showState(const QIcon& icon, const QString& toolTip)
{
    setWindowIcon(icon);
    icon_->setPixmap(icon.pixmap(iconSize, iconSize));
    state_->setText(toolTip);
}

void MenuWindow::showNotice(const Notice& notice)
{
    open_ = notice.open;
    message_->setText(notice.title + "\n" + notice.message);
    show_->setVisible(open_ != nullptr);
    layout()->activate();
    resize(width(), std::max(height(), layout()->totalHeightForWidth(width())));
    raise();
    QApplication::alert(this);
}

void MenuWindow::closeEvent(QCloseEvent* event)
{
    event->ignore();
    showMinimized();
}

} // namespace tidemark::qt
