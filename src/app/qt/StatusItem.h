#pragma once

#include <functional>
#include <memory>

#include <QObject>
#include <QString>
#include <QTimer>

#include "app/qt/Notice.h"

class QSystemTrayIcon;

namespace tidemark::qt {

class MenuWindow;
class StatusMenu;

/// The application's place on the desktop: an icon in the status area, or, as long as the desktop has none, a small
/// window with the same menu. Main thread.
class StatusItem : public QObject
{
public:
    enum class State
    {
        idle,
        running,
        trouble
    };

    /// The menu outlives this.
    explicit StatusItem(StatusMenu& menu, QObject* parent = nullptr);
    ~StatusItem() override;

    /// `toolTip` says what the last run came to.
    void show(State state, const QString& toolTip);
    State state() const { return state_; }
    /// A click on it opens what it is about; of several notices that is the last one.
    void notify(const Notice& notice);
    /// The last notice has been clicked.
    void openNotice();
    bool isInStatusArea() const { return icon_ != nullptr; }

private:
    /// Moves to the status area where there is one.
    void settle();
    void moveToStatusArea();
    void display();

    StatusMenu& menu_;
    State state_ = State::idle;
    QString toolTip_;
    std::function<void()> open_;
    std::unique_ptr<QSystemTrayIcon> icon_;
    std::unique_ptr<MenuWindow> window_;
    QTimer look_;
};

} // namespace tidemark::qt
