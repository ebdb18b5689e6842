#include "app/qt/StatusItem.h"

#include <QCursor>
#include <QIcon>
#include <QSystemTrayIcon>

#include "app/qt/Icons.h"
#include "app/qt/MenuWindow.h"
#include "app/qt/StatusMenu.h"
#include "app/qt/Texts.h"

namespace tidemark::qt {

namespace {

constexpr int lookMilliseconds = 2000;

QIcon iconOf(StatusItem::State state)
{
    switch (state) {
    case StatusItem::State::running:
        return icon("tidemark-running");
    case StatusItem::State::trouble:
        return icon("tidemark-trouble");
    case StatusItem::State::idle:
        break;
    }
    return icon("tidemark");
}

} // namespace

StatusItem::StatusItem(StatusMenu& menu, QObject* parent)
    : QObject(parent), menu_(menu), toolTip_(text("Desktop", "TOOLTIP_IDLE"))
{
    look_.setInterval(lookMilliseconds);
    connect(&look_, &QTimer::timeout, this, &StatusItem::settle);
    settle();
    if (icon_) return;
    window_ = std::make_unique<MenuWindow>(menu_);
    window_->show();
    look_.start();
    display();
}

StatusItem::~StatusItem() = default;

void StatusItem::settle()
{
    if (icon_ || !QSystemTrayIcon::isSystemTrayAvailable()) return;
    look_.stop();
    window_.reset();
    moveToStatusArea();
}

void StatusItem::moveToStatusArea()
{
    icon_ = std::make_unique<QSystemTrayIcon>();
    icon_->setContextMenu(&menu_);
    connect(icon_.get(), &QSystemTrayIcon::messageClicked, this, &StatusItem::openNotice);
    connect(icon_.get(), &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger) menu_.popup(QCursor::pos());
    });
    display();
    icon_->show();
}

void StatusItem::show(State state, const QString& toolTip)
{
    state_ = state;
    toolTip_ = toolTip;
    display();
}

void StatusItem::display()
{
    if (icon_) {
        icon_->setIcon(iconOf(state_));
        icon_->setToolTip(toolTip_);
    }
    if (window_) window_->showState(iconOf(state_), toolTip_);
}

void StatusItem::notify(const Notice& notice)
{
    open_ = notice.open;
    if (icon_) icon_->showMessage(notice.title, notice.message, QSystemTrayIcon::Warning);
    if (window_) window_->showNotice(notice);
}

void StatusItem::openNotice()
{
    // What it opens may bring the next notice.
    if (const auto open = open_) open();
}

} // namespace tidemark::qt
