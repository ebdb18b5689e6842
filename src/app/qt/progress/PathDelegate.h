#pragma once

#include <QStyledItemDelegate>

namespace tidemark::qt {

/// Cuts long paths in the middle, so that the name at the end stays.
class PathDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override
    {
        QStyledItemDelegate::initStyleOption(option, index);
        option->textElideMode = Qt::ElideMiddle;
    }
};

} // namespace tidemark::qt
