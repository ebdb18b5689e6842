#include "app/qt/ReadingOrder.h"

#include <QGuiApplication>

namespace tidemark::qt {

QString leftToRight(const QString& text)
{
    constexpr QChar isolate(0x2066);
    constexpr QChar popIsolate(0x2069);
    if (QGuiApplication::layoutDirection() != Qt::RightToLeft || text.isEmpty()) return text;
    return isolate + text + popIsolate;
}

bool turnsReading(QChar character)
{
    const auto code = character.unicode();
    return (code >= 0x202A && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
}

} // namespace tidemark::qt
