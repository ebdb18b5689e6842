#pragma once

#include <QIcon>
#include <QWidget>

class QLabel;

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
    void showMessage(const QString& message);

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    QLabel* const icon_;
    QLabel* const state_;
    QLabel* const message_;
};

} // namespace tidemark::qt
