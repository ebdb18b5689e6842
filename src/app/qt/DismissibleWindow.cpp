#include "app/qt/DismissibleWindow.h"

#include <QAbstractButton>
#include <QKeyEvent>

namespace tidemark::qt {

DismissibleWindow::DismissibleWindow(QWidget* parent) : QWidget(parent, Qt::Window) {}

void DismissibleWindow::keyPressEvent(QKeyEvent* event)
{
    if (event->matches(QKeySequence::Cancel)) {
        close();
        return;
    }
    auto* button = qobject_cast<QAbstractButton*>(focusWidget());
    if (!button) button = default_;
    if (button && (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter))
        button->click();
    else
        QWidget::keyPressEvent(event);
}

} // namespace tidemark::qt
