#pragma once

#include <array>
#include <memory>
#include <optional>
#include <vector>

#include <QAbstractTableModel>

#include "app/SyncItems.h"

namespace tidemark::qt {

/// The items of a running sequence as a table. It is as new as the last takeNews(); the items themselves are shared
/// with SyncItems, not copied.
class SyncItemsModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Column
    {
        stateColumn,
        pathColumn,
        directionColumn,
        changeColumn,
        sizeColumn,
        columnTotal
    };

    /// `items` outlives the model.
    explicit SyncItemsModel(const SyncItems& items, QObject* parent = nullptr);

    /// Takes over what has changed since the last time: rows that were added, and one range that spans all that moved.
    void takeNews();
    /// The row that is worked on.
    std::optional<int> rowUnderWay() const;
    std::size_t count(SyncItems::State state) const;

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    using Lists = std::vector<std::shared_ptr<const SyncItems::List>>;
    using Moves = std::vector<std::pair<std::size_t, SyncItems::State>>;

    void clear();
    void append(const Lists& lists);
    void move(const Moves& changes);
    const SyncItems::List& listOf(std::size_t row) const;
    const SyncItem& itemAt(std::size_t row) const;
    QString displayText(std::size_t row, int column) const;
    QString toolTip(std::size_t row) const;
    QString statePhrase(std::size_t row) const;

    const SyncItems& items_;
    SyncItems::Mark mark_;
    Lists lists_;
    /// Where each list begins.
    std::vector<std::size_t> firstRows_;
    std::vector<SyncItems::State> states_;
    std::array<std::size_t, SyncItems::stateCount> counts_{};
    std::optional<std::size_t> underWay_;
};

} // namespace tidemark::qt
