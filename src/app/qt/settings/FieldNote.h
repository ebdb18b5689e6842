#pragma once

#include <QWidget>

class QLabel;

namespace tidemark::qt {

/// What is wrong with a field, written below it; takes no room while nothing is.
class FieldNote : public QWidget
{
    Q_OBJECT

public:
    /// Describes `field` to a screen reader, too; null for what concerns no single field. `field` outlives this.
    explicit FieldNote(QWidget* field, QWidget* parent = nullptr);

    /// "" for nothing.
    void setFault(const QString& fault);
    QString fault() const;

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void makeRoom();

    QWidget* const field_;
    QLabel* const label_;
};

} // namespace tidemark::qt
