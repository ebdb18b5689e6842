#pragma once

#include <QWidget>

class QAbstractButton;

namespace tidemark::qt {

/// A window beside the program's work: Escape closes it, Return clicks the button that has the focus, or the default
/// one where there is one and no other control wants the key.
class DismissibleWindow : public QWidget
{
    Q_OBJECT

public:
    explicit DismissibleWindow(QWidget* parent = nullptr);

protected:
    /// Must be harmless. Belongs to the window.
    void setDefaultButton(QAbstractButton* button) { default_ = button; }
    void keyPressEvent(QKeyEvent* event) override;

private:
    QAbstractButton* default_ = nullptr;
};

} // namespace tidemark::qt
