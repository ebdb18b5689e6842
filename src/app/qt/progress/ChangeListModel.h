#pragma once

#include <QAbstractItemModel>

#include "app/ChangeList.h"

namespace tidemark::qt {

/// What a ChangeList shows, as a tree: a row per configuration, below it a row per change.
class ChangeListModel : public QAbstractItemModel
{
    Q_OBJECT

public:
    enum Column
    {
        pathColumn,
        directionColumn,
        changeColumn,
        sizeColumn,
        localTimeColumn,
        serverTimeColumn,
        columnTotal
    };

    using QAbstractItemModel::QAbstractItemModel;

    const ChangeList& list() const { return list_; }
    void clear();
    void setGroup(const std::string& configuration, std::vector<SyncItem> items);
    void setFilter(ChangeList::Filter filter);

    QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    template <class Edit>
    void edit(Edit change);
    const ChangeList::Group& groupAt(int row) const;
    const SyncItem& itemAt(const QModelIndex& index) const;
    QVariant groupData(int row, int column, int role) const;
    QVariant changeData(const SyncItem& item, int column, int role) const;

    ChangeList list_;
    /// The rows of the first level: indices of groups.
    std::vector<std::size_t> rows_;
};

} // namespace tidemark::qt
