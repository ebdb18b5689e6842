#include "app/qt/settings/WrappedText.h"

#include <algorithm>

#include <QEvent>

namespace tidemark::qt {

WrappedText::WrappedText(const QString& content, QWidget* parent) : QLabel(content, parent)
{
    setTextFormat(Qt::PlainText);
    setWordWrap(true);
    auto policy = sizePolicy();
    policy.setVerticalPolicy(QSizePolicy::Fixed);
    setSizePolicy(policy);
    align();
}

void WrappedText::say(const QString& content)
{
    setText(content);
    makeRoom();
}

/// As high as it is in its present width: a label guesses a width for itself.
QSize WrappedText::sizeHint() const
{
    const auto guess = QLabel::sizeHint();
    return {guess.width(), minimumHeight() > 0 ? minimumHeight() : guess.height()};
}

void WrappedText::resizeEvent(QResizeEvent* event)
{
    QLabel::resizeEvent(event);
    makeRoom();
}

void WrappedText::changeEvent(QEvent* event)
{
    QLabel::changeEvent(event);
    if (event->type() == QEvent::LayoutDirectionChange) align();
    if (event->type() == QEvent::FontChange) makeRoom();
}

/// By the layout's direction: a text in a language of the other one would stand apart from its field.
void WrappedText::align()
{
    setAlignment((isRightToLeft() ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignAbsolute | Qt::AlignVCenter);
}

/// A window grows by its contents' least heights, which do not know about wrapped lines.
void WrappedText::makeRoom()
{
    setMinimumHeight(std::max(heightForWidth(width()), 0));
}

} // namespace tidemark::qt
