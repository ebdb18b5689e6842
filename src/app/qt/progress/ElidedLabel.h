#pragma once

#include <QLabel>

namespace tidemark::qt {

/// One line of plain text that is cut with "…" where the width does not hold it, and never widens its window. The whole
/// text is the tool tip then.
class ElidedLabel : public QLabel
{
public:
    explicit ElidedLabel(Qt::TextElideMode mode, QWidget* parent = nullptr);

    /// Nothing happens when it is the text that is shown.
    void showText(const QString& text);
    const QString& wholeText() const { return whole_; }

    QSize minimumSizeHint() const override;

protected:
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void elide();
    void alignToLayout();

    const Qt::TextElideMode mode_;
    QString whole_;
};

} // namespace tidemark::qt
