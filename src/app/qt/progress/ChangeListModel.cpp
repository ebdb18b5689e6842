#include "app/qt/progress/ChangeListModel.h"

#include <QFont>
#include <QLocale>
#include <QStringList>

#include "app/qt/ReadingOrder.h"
#include "app/qt/Texts.h"
#include "app/qt/progress/ItemTexts.h"

namespace tidemark::qt {

namespace {

constexpr std::string_view table = "Progress";
/// The internal id of a configuration's row; an item's is the row of its configuration.
constexpr quintptr groupId = ~quintptr{0};

void addCount(QStringList& parts, const char* key, std::size_t count)
{
    if (count == 0) return;
    parts += text(table, key, {{"count", toUtf8(QLocale().toString(static_cast<qulonglong>(count)))}});
}

QString groupText(const ChangeList::Group& group)
{
    const auto counts = ChangeList::counts(group);
    QStringList parts;
    addCount(parts, "GROUP_UP", counts.up);
    addCount(parts, "GROUP_DOWN", counts.down);
    addCount(parts, "GROUP_CONFLICTS", counts.conflict);
    return text(table, "GROUP", {{"name", group.configuration}, {"counts", toUtf8(parts.join(", "))}});
}

QString itemText(const SyncItem& item, int column)
{
    switch (column) {
    case ChangeListModel::pathColumn:
        return leftToRight(pathText(item.path));
    case ChangeListModel::directionColumn:
        return directionText(item.direction);
    case ChangeListModel::changeColumn:
        return changeText(item.change);
    case ChangeListModel::sizeColumn:
        return item.folder ? text(table, "FOLDER") : leftToRight(sizeText(item));
    case ChangeListModel::localTimeColumn:
        return leftToRight(timeText(item.localTime));
    case ChangeListModel::serverTimeColumn:
        return leftToRight(timeText(item.serverTime));
    }
    return {};
}

/// Numbers and dates end in line with one another.
bool isTrailing(int column)
{
    return column == ChangeListModel::sizeColumn || column == ChangeListModel::localTimeColumn ||
           column == ChangeListModel::serverTimeColumn;
}

const char* titleKey(int column)
{
    switch (column) {
    case ChangeListModel::pathColumn:
        return "COLUMN_ITEM";
    case ChangeListModel::directionColumn:
        return "COLUMN_DIRECTION";
    case ChangeListModel::changeColumn:
        return "COLUMN_CHANGE";
    case ChangeListModel::sizeColumn:
        return "COLUMN_SIZE";
    case ChangeListModel::localTimeColumn:
        return "COLUMN_LOCAL_TIME";
    case ChangeListModel::serverTimeColumn:
        return "COLUMN_SERVER_TIME";
    }
    return "";
}

} // namespace

template <class Edit>
void ChangeListModel::edit(Edit change)
{
    beginResetModel();
    change(list_);
    rows_ = list_.shownGroups();
    endResetModel();
}

void ChangeListModel::clear()
{
    edit([](ChangeList& list) { list.clear(); });
}

void ChangeListModel::setGroup(const std::string& configuration, std::vector<SyncItem> items)
{
    edit([&](ChangeList& list) { list.setGroup(configuration, std::move(items)); });
}

void ChangeListModel::setFilter(ChangeList::Filter filter)
{
    edit([&](ChangeList& list) { list.setFilter(std::move(filter)); });
}

QModelIndex ChangeListModel::index(int row, int column, const QModelIndex& parent) const
{
    if (!hasIndex(row, column, parent)) return {};
    return createIndex(row, column, parent.isValid() ? static_cast<quintptr>(parent.row()) : groupId);
}

QModelIndex ChangeListModel::parent(const QModelIndex& child) const
{
    if (!child.isValid() || child.internalId() == groupId) return {};
    return createIndex(static_cast<int>(child.internalId()), 0, groupId);
}

int ChangeListModel::rowCount(const QModelIndex& parent) const
{
    if (!parent.isValid()) return static_cast<int>(rows_.size());
    if (parent.internalId() != groupId || parent.column() != 0) return 0;
    return static_cast<int>(groupAt(parent.row()).shown.size());
}

int ChangeListModel::columnCount(const QModelIndex&) const
{
    return columnTotal;
}

const ChangeList::Group& ChangeListModel::groupAt(int row) const
{
    return list_.groups()[rows_[static_cast<std::size_t>(row)]];
}

const SyncItem& ChangeListModel::itemAt(const QModelIndex& index) const
{
    const auto& group = groupAt(static_cast<int>(index.internalId()));
    return group.items[group.shown[static_cast<std::size_t>(index.row())]];
}

QVariant ChangeListModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid()) return {};
    if (index.internalId() == groupId) return groupData(index.row(), index.column(), role);
    return changeData(itemAt(index), index.column(), role);
}

QVariant ChangeListModel::groupData(int row, int column, int role) const
{
    if (role == Qt::DisplayRole && column == pathColumn) return groupText(groupAt(row));
    if (role == Qt::FontRole) {
        QFont bold;
        bold.setBold(true);
        return bold;
    }
    return {};
}

QVariant ChangeListModel::changeData(const SyncItem& item, int column, int role) const
{
    switch (role) {
    case Qt::DisplayRole:
        return itemText(item, column);
    case Qt::ToolTipRole:
        // Escaped: a tool tip would take a name for markup.
        if (column == pathColumn) return "<p>" + pathText(item.path).toHtmlEscaped() + "</p>";
        return {};
    case Qt::TextAlignmentRole:
        if (isTrailing(column)) return QVariant(Qt::AlignTrailing | Qt::AlignVCenter);
        return {};
    default:
        return {};
    }
}

QVariant ChangeListModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal) return {};
    if (role == Qt::DisplayRole) return text(table, titleKey(section));
    if (role == Qt::TextAlignmentRole && isTrailing(section)) return QVariant(Qt::AlignTrailing | Qt::AlignVCenter);
    return {};
}

} // namespace tidemark::qt
