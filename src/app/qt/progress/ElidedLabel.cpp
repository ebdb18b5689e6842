#include "app/qt/progress/ElidedLabel.h"

#include <QEvent>
#include <QFontMetrics>
#include <QResizeEvent>

namespace tidemark::qt {

ElidedLabel::ElidedLabel(Qt::TextElideMode mode, QWidget* parent) : QLabel(parent), mode_(mode)
{
    setTextFormat(Qt::PlainText);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    alignToLayout();
}

void ElidedLabel::showText(const QString& text)
{
    if (text == whole_) return;
    whole_ = text;
    setAccessibleName(text);
    elide();
}

QSize ElidedLabel::minimumSizeHint() const
{
    return {0, fontMetrics().height()};
}

void ElidedLabel::resizeEvent(QResizeEvent* event)
{
    QLabel::resizeEvent(event);
    elide();
}

void ElidedLabel::changeEvent(QEvent* event)
{
    QLabel::changeEvent(event);
    if (event->type() == QEvent::FontChange) elide();
    if (event->type() == QEvent::LayoutDirectionChange) alignToLayout();
}

/// A label would place its text by the text's own direction.
void ElidedLabel::alignToLayout()
{
    setAlignment((isRightToLeft() ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignAbsolute | Qt::AlignVCenter);
}

void ElidedLabel::elide()
{
    const auto shown = fontMetrics().elidedText(whole_, mode_, contentsRect().width());
    if (shown != text()) setText(shown);
    setToolTip(shown == whole_ ? QString() : "<p>" + whole_.toHtmlEscaped() + "</p>");
}

} // namespace tidemark::qt
