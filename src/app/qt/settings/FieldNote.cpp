#include "app/qt/settings/FieldNote.h"

#include <algorithm>

#include <QHBoxLayout>
#include <QLabel>
#include <QStyle>

namespace tidemark::qt {

FieldNote::FieldNote(QWidget* field, QWidget* parent) : QWidget(parent), field_(field), label_(new QLabel)
{
    const int size = style()->pixelMetric(QStyle::PM_SmallIconSize);
    auto* icon = new QLabel;
    icon->setPixmap(style()->standardIcon(QStyle::SP_MessageBoxWarning).pixmap(size, size));
    label_->setTextFormat(Qt::PlainText);
    label_->setWordWrap(true);
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins({});
    layout->addWidget(icon, 0, Qt::AlignTop);
    layout->addWidget(label_, 1);
    hide();
}

void FieldNote::setFault(const QString& fault)
{
    label_->setText(fault);
    if (field_) field_->setAccessibleDescription(fault);
    setVisible(!fault.isEmpty());
    makeRoom();
}

void FieldNote::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    makeRoom();
}

/// A window grows by its contents' least heights, which do not know about wrapped lines.
void FieldNote::makeRoom()
{
    label_->setMinimumHeight(std::max(label_->heightForWidth(label_->width()), 0));
}

QString FieldNote::fault() const
{
    return label_->text();
}

} // namespace tidemark::qt
