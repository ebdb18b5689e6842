#pragma once

#include <QChar>
#include <QString>

namespace tidemark::qt {

/// A path, a time or a line of a log as it is read from left to right; in a layout from right to left its punctuation
/// would wander to the other end. Elsewhere the text as it is.
QString leftToRight(const QString& text);

/// A character that turns the order of those after it around: in a name it makes one extension look like another.
bool turnsReading(QChar character);

} // namespace tidemark::qt
