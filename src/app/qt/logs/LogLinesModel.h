#pragma once

#include <deque>
#include <vector>

#include <QAbstractTableModel>

#include "app/LogFiles.h"

namespace tidemark::qt {

/// Lines of a log, those that a level and a text let through. Keeps a bounded number: the oldest go when it follows a
/// log for long.
class LogLinesModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Column
    {
        timeColumn,
        levelColumn,
        messageColumn,
        placeColumn,
        columnTotal
    };
    static constexpr std::size_t mostLines = 100000;

    using QAbstractTableModel::QAbstractTableModel;

    void clear();
    void append(std::vector<LogLine> lines);
    /// Lines before the first one.
    void prepend(std::vector<LogLine> lines);
    bool isFull() const { return lines_.size() >= mostLines; }
    std::size_t lineCount() const { return lines_.size(); }

    /// Lines of `level` and graver ones that hold `part`, whatever the case.
    void setFilter(LogLevel level, const QString& part);
    /// The line as it is in the file.
    QString wholeLine(int row) const;

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    bool passes(const LogLine& line) const;
    void choose();
    void dropOldest();
    const LogLine& lineAt(int row) const;

    std::deque<LogLine> lines_;
    /// Indices of the lines that are shown.
    std::vector<std::uint32_t> shown_;
    LogLevel level_ = LogLevel::verbose;
    QString part_;
};

QString levelText(LogLevel level);

} // namespace tidemark::qt
