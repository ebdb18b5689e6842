#pragma once

#include <QWidget>

namespace tidemark::qt {

class WrappedText;

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

    QSize sizeHint() const override;

private:
    QWidget* const field_;
    WrappedText* const label_;
};

} // namespace tidemark::qt
