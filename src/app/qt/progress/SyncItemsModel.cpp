#include "app/qt/progress/SyncItemsModel.h"

#include <algorithm>
#include <iterator>

#include "app/qt/ReadingOrder.h"
#include "app/qt/Texts.h"
#include "app/qt/progress/ItemTexts.h"

namespace tidemark::qt {

namespace {

constexpr std::string_view table = "Progress";

QString columnTitle(int column)
{
    switch (column) {
    case SyncItemsModel::stateColumn:
        return text(table, "COLUMN_STATE");
    case SyncItemsModel::pathColumn:
        return text(table, "COLUMN_ITEM");
    case SyncItemsModel::directionColumn:
        return text(table, "COLUMN_DIRECTION");
    case SyncItemsModel::changeColumn:
        return text(table, "COLUMN_CHANGE");
    case SyncItemsModel::sizeColumn:
        return text(table, "COLUMN_SIZE");
    }
    return {};
}

} // namespace

SyncItemsModel::SyncItemsModel(const SyncItems& items, QObject* parent) : QAbstractTableModel(parent), items_(items) {}

void SyncItemsModel::takeNews()
{
    const auto news = items_.newsSince(mark_);
    mark_ = news.mark;
    if (news.reset) clear();
    if (!news.lists.empty()) append(news.lists);
    if (!news.changes.empty()) move(news.changes);
}

void SyncItemsModel::clear()
{
    beginResetModel();
    lists_.clear();
    firstRows_.clear();
    states_ = {};
    counts_ = {};
    underWay_.reset();
    endResetModel();
}

void SyncItemsModel::append(const Lists& lists)
{
    std::size_t added = 0;
    for (const auto& list : lists)
        added += list->items.size();
    const auto first = states_.size();
    beginInsertRows({}, static_cast<int>(first), static_cast<int>(first + added) - 1);
    for (const auto& list : lists) {
        firstRows_.push_back(states_.size());
        states_.resize(states_.size() + list->items.size(), SyncItems::State::waiting);
        lists_.push_back(list);
    }
    counts_[static_cast<std::size_t>(SyncItems::State::waiting)] += added;
    endInsertRows();
}

void SyncItemsModel::move(const Moves& changes)
{
    std::size_t first = states_.size();
    std::size_t last = 0;
    for (const auto& [row, state] : changes) {
        --counts_[static_cast<std::size_t>(states_[row])];
        ++counts_[static_cast<std::size_t>(state)];
        states_[row] = state;
        if (state == SyncItems::State::underWay) underWay_ = row;
        first = std::min(first, row);
        last = std::max(last, row);
    }
    if (underWay_ && states_[*underWay_] != SyncItems::State::underWay) underWay_.reset();
    emit dataChanged(index(static_cast<int>(first), stateColumn), index(static_cast<int>(last), stateColumn));
}

std::optional<int> SyncItemsModel::rowUnderWay() const
{
    return underWay_ ? std::optional(static_cast<int>(*underWay_)) : std::nullopt;
}

std::size_t SyncItemsModel::count(SyncItems::State state) const
{
    return counts_[static_cast<std::size_t>(state)];
}

int SyncItemsModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(states_.size());
}

int SyncItemsModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : columnTotal;
}

const SyncItems::List& SyncItemsModel::listOf(std::size_t row) const
{
    const auto after = std::ranges::upper_bound(firstRows_, row);
    return *lists_[static_cast<std::size_t>(std::distance(firstRows_.begin(), after)) - 1];
}

const SyncItem& SyncItemsModel::itemAt(std::size_t row) const
{
    const auto after = std::ranges::upper_bound(firstRows_, row);
    return listOf(row).items[row - *std::prev(after)];
}

QVariant SyncItemsModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid()) return {};
    const auto row = static_cast<std::size_t>(index.row());
    switch (role) {
    case Qt::DisplayRole:
        return displayText(row, index.column());
    case Qt::ToolTipRole:
        return toolTip(row);
    case Qt::TextAlignmentRole:
        if (index.column() == sizeColumn) return QVariant(Qt::AlignTrailing | Qt::AlignVCenter);
        return {};
    case Qt::AccessibleTextRole:
        return displayText(row, pathColumn) + ", " + displayText(row, index.column());
    default:
        return {};
    }
}

QVariant SyncItemsModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal) return {};
    if (role == Qt::TextAlignmentRole && section == sizeColumn) return QVariant(Qt::AlignTrailing | Qt::AlignVCenter);
    if (role != Qt::DisplayRole) return {};
    return columnTitle(section);
}

QString SyncItemsModel::displayText(std::size_t row, int column) const
{
    const auto& item = itemAt(row);
    switch (column) {
    case stateColumn:
        return statePhrase(row);
    case pathColumn:
        return leftToRight(pathText(item.path));
    case directionColumn:
        return directionText(item.direction);
    case changeColumn:
        return changeText(item.change);
    case sizeColumn:
        return item.folder ? text(table, "FOLDER") : leftToRight(sizeText(item));
    }
    return {};
}

QString SyncItemsModel::statePhrase(std::size_t row) const
{
    const auto state = stateText(states_[row]);
    const auto reason = states_[row] == SyncItems::State::notDone ? items_.reason(row) : std::string{};
    return reason.empty() ? state : state + ": " + pathText(reason);
}

QString SyncItemsModel::toolTip(std::size_t row) const
{
    auto tip = fromUtf8(listOf(row).configuration) + "\n" + pathText(itemAt(row).path);
    if (const auto reason = items_.reason(row); !reason.empty()) tip += "\n" + pathText(reason);
    // Escaped: a tool tip would take a name for markup.
    return tip.toHtmlEscaped().replace('\n', "<br>").prepend("<p>").append("</p>");
}

} // namespace tidemark::qt
