#include "app/qt/settings/FieldNote.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QStyle>

#include "app/qt/settings/WrappedText.h"

namespace tidemark::qt {

FieldNote::FieldNote(QWidget* field, QWidget* parent) : QWidget(parent), field_(field), label_(new WrappedText)
{
    const int size = style()->pixelMetric(QStyle::PM_SmallIconSize);
    auto* icon = new QLabel;
    icon->setPixmap(style()->standardIcon(QStyle::SP_MessageBoxWarning).pixmap(size, size));
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins({});
    layout->addWidget(icon, 0, Qt::AlignTop);
    layout->addWidget(label_, 1);
    auto policy = sizePolicy();
    policy.setVerticalPolicy(QSizePolicy::Fixed);
    setSizePolicy(policy);
    hide();
}

void FieldNote::setFault(const QString& fault)
{
    label_->say(fault);
    if (field_) field_->setAccessibleDescription(fault);
    setVisible(!fault.isEmpty());
}

/// As high as the text is in its present width.
QSize FieldNote::sizeHint() const
{
    return {QWidget::sizeHint().width(), layout()->minimumSize().height()};
}

QString FieldNote::fault() const
{
    return label_->text();
}

} // namespace tidemark::qt
