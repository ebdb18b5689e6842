#include "app/qt/progress/ItemTexts.h"

#include <cmath>

#include <QDateTime>
#include <QLocale>

#include "app/qt/ReadingOrder.h"
#include "app/qt/Texts.h"

namespace tidemark::qt {

namespace {

constexpr std::string_view table = "Progress";

bool breaksLine(QChar character)
{
    const auto category = character.category();
    return category == QChar::Other_Control || category == QChar::Separator_Line ||
           category == QChar::Separator_Paragraph || turnsReading(character);
}

} // namespace

QString directionText(Direction direction)
{
    switch (direction) {
    case Direction::up:
        return text(table, "DIRECTION_UP");
    case Direction::down:
        return text(table, "DIRECTION_DOWN");
    case Direction::conflict:
        return text(table, "DIRECTION_CONFLICT");
    }
    return {};
}

QString changeText(Change change)
{
    switch (change) {
    case Change::created:
        return text(table, "CHANGE_CREATED");
    case Change::updated:
        return text(table, "CHANGE_UPDATED");
    case Change::deleted:
        return text(table, "CHANGE_DELETED");
    }
    return {};
}

QString stateText(SyncItems::State state)
{
    switch (state) {
    case SyncItems::State::waiting:
        return text(table, "STATE_WAITING");
    case SyncItems::State::underWay:
        return text(table, "STATE_UNDER_WAY");
    case SyncItems::State::done:
        return text(table, "STATE_DONE");
    case SyncItems::State::notDone:
        return text(table, "STATE_NOT_DONE");
    case SyncItems::State::notReached:
        return text(table, "STATE_NOT_REACHED");
    }
    return {};
}

QString sizeText(const SyncItem& item)
{
    if (item.folder || item.change == Change::deleted) return {};
    return QLocale().formattedDataSize(item.size, 1, QLocale::DataSizeIecFormat);
}

QString timeText(const std::optional<dates::Seconds>& time)
{
    if (!time) return {};
    const auto moment = QDateTime::fromSecsSinceEpoch(static_cast<qint64>(std::floor(*time)));
    return QLocale().toString(moment, QLocale::ShortFormat);
}

QString pathText(const std::string& path)
{
    auto shown = fromUtf8(path);
    for (auto& character : shown)
        if (breaksLine(character)) character = QChar::ReplacementCharacter;
    return shown;
}

} // namespace tidemark::qt
