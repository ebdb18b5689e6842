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

} // namespace tidemark::qt
