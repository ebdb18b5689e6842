#pragma once

#include <QIcon>
#include <QWidget>

#include "app/qt/Notice.h"

class QLabel;
class QPushButton;

namespace tidemark::qt {

class StatusMenu;

/// Stands in for the status item on a desktop without a status area. Closing it only makes it small: the menu must stay
/// within reach.
class MenuWindow : public QWidget
{
    Q_OBJECT

public:
    explicit MenuWindow(StatusMenu& menu, QWidget* parent = nullptr);

    void showState(const QIcon& icon, const QString& toolTip);
    /// With a button for what it is about.
    void showNotice(const Notice& notice);

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    QLabel* const icon_;
    QLabel* const state_;
    QLabel* const message_;
    QPushButton* const show_;
    std::function<void()> open_;
};

} // namespace tidemark::qt
