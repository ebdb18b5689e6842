#include "app/qt/VersionWindow.h"

#include <QIcon>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/qt/Icons.h"
#include "app/qt/Texts.h"

namespace tidemark::qt {

namespace {

constexpr int iconSize = 64;

} // namespace

VersionWindow::VersionWindow(QWidget* parent) : DismissibleWindow(parent)
{
    setWindowTitle(text("Desktop", "VERSION_TITLE"));
    auto* picture = new QLabel;
    picture->setPixmap(icon("tidemark").pixmap(iconSize, iconSize));
    auto* name = new QLabel(QStringLiteral("Tidemark " TIDEMARK_VERSION));
    auto font = name->font();
    font.setPointSizeF(font.pointSizeF() * 1.4);
    font.setBold(true);
    name->setFont(font);
    auto* about = new QLabel(text("Desktop", "VERSION_ABOUT"));
    about->setWordWrap(true);
    about->setAlignment(Qt::AlignCenter);
    about->setMinimumWidth(fontMetrics().averageCharWidth() * 40);
    auto* close = new QPushButton(text("Desktop", "CLOSE"));
    connect(close, &QPushButton::clicked, this, &QWidget::close);
    auto* layout = new QVBoxLayout(this);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    for (auto* widget : {static_cast<QWidget*>(picture), static_cast<QWidget*>(name)})
        layout->addWidget(widget, 0, Qt::AlignHCenter);
    layout->addWidget(about);
    layout->addWidget(close, 0, Qt::AlignHCenter);
    setDefaultButton(close);
    close->setFocus();
}

} // namespace tidemark::qt
