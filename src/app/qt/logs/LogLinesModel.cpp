#include "app/qt/logs/LogLinesModel.h"

#include <iterator>

#include "app/qt/ReadingOrder.h"
#include "app/qt/Texts.h"

namespace tidemark::qt {

namespace {

constexpr std::string_view table = "LogViewer";

const char* titleKey(int column)
{
    switch (column) {
    case LogLinesModel::timeColumn:
        return "COLUMN_TIME";
    case LogLinesModel::levelColumn:
        return "COLUMN_LEVEL";
    case LogLinesModel::messageColumn:
        return "COLUMN_MESSAGE";
    case LogLinesModel::placeColumn:
        return "COLUMN_PLACE";
    }
    return "";
}

QString displayText(const LogLine& line, int column)
{
    switch (column) {
    case LogLinesModel::timeColumn:
        return fromUtf8(line.time);
    case LogLinesModel::levelColumn:
        return line.level ? levelText(*line.level) : QString();
    case LogLinesModel::messageColumn:
        return fromUtf8(line.message);
    case LogLinesModel::placeColumn:
        return fromUtf8(line.place);
    }
    return {};
}

} // namespace

QString levelText(LogLevel level)
{
    switch (level) {
    case LogLevel::error:
        return text(table, "LEVEL_ERROR");
    case LogLevel::warning:
        return text(table, "LEVEL_WARNING");
    case LogLevel::info:
        return text(table, "LEVEL_INFO");
    case LogLevel::debug:
        return text(table, "LEVEL_DEBUG");
    case LogLevel::verbose:
        return text(table, "LEVEL_VERBOSE");
    }
    return {};
}

void LogLinesModel::clear()
{
    beginResetModel();
    lines_.clear();
    shown_.clear();
    endResetModel();
}

void LogLinesModel::append(std::vector<LogLine> lines)
{
    std::vector<std::uint32_t> added;
    for (auto& line : lines) {
        if (passes(line)) added.push_back(static_cast<std::uint32_t>(lines_.size()));
        lines_.push_back(std::move(line));
    }
    if (!added.empty()) {
        beginInsertRows({}, rowCount(), rowCount() + static_cast<int>(added.size()) - 1);
        shown_.insert(shown_.end(), added.begin(), added.end());
        endInsertRows();
    }
    if (lines_.size() > mostLines) dropOldest();
}

/// More than is needed, so that it is rarely done.
void LogLinesModel::dropOldest()
{
    beginResetModel();
    lines_.erase(lines_.begin(), lines_.begin() + static_cast<std::ptrdiff_t>(lines_.size() - mostLines * 4 / 5));
    choose();
    endResetModel();
}

void LogLinesModel::prepend(std::vector<LogLine> lines)
{
    std::vector<std::uint32_t> added;
    for (std::uint32_t i = 0; i < lines.size(); ++i)
        if (passes(lines[i])) added.push_back(i);
    const auto count = static_cast<std::uint32_t>(lines.size());
    if (!added.empty()) beginInsertRows({}, 0, static_cast<int>(added.size()) - 1);
    for (auto& index : shown_)
        index += count;
    shown_.insert(shown_.begin(), added.begin(), added.end());
    lines_.insert(lines_.begin(), std::make_move_iterator(lines.begin()), std::make_move_iterator(lines.end()));
    if (!added.empty()) endInsertRows();
}

void LogLinesModel::setFilter(LogLevel level, const QString& part)
{
    beginResetModel();
    level_ = level;
    part_ = part;
    choose();
    endResetModel();
}

void LogLinesModel::choose()
{
    shown_.clear();
    for (std::uint32_t i = 0; i < lines_.size(); ++i)
        if (passes(lines_[i])) shown_.push_back(i);
}

/// A line without level belongs to none, and is shown with the ones that are not grave.
bool LogLinesModel::passes(const LogLine& line) const
{
    if (line.level.value_or(LogLevel::info) > level_) return false;
    return part_.isEmpty() || fromUtf8(line.message).contains(part_, Qt::CaseInsensitive) ||
           fromUtf8(line.place).contains(part_, Qt::CaseInsensitive);
}

const LogLine& LogLinesModel::lineAt(int row) const
{
    return lines_[shown_[static_cast<std::size_t>(row)]];
}

QString LogLinesModel::wholeLine(int row) const
{
    const auto& line = lineAt(row);
    if (!line.level) return fromUtf8(line.message);
    return displayText(line, timeColumn) + " " + displayText(line, levelColumn) + " [" +
           displayText(line, placeColumn) + "] " + displayText(line, messageColumn);
}

int LogLinesModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(shown_.size());
}

int LogLinesModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : columnTotal;
}

QVariant LogLinesModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid()) return {};
    const auto& line = lineAt(index.row());
    if (role == Qt::DisplayRole)
        return index.column() == levelColumn ? displayText(line, levelColumn)
                                             : leftToRight(displayText(line, index.column()));
    // Escaped: a tool tip would take text for markup.
    if (role == Qt::ToolTipRole && index.column() == messageColumn)
        return "<p>" + fromUtf8(line.message).left(2000).toHtmlEscaped() + "</p>";
    return {};
}

QVariant LogLinesModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
    return text(table, titleKey(section));
}

} // namespace tidemark::qt
