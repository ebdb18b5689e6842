#pragma once

#include "app/qt/DismissibleWindow.h"

namespace tidemark::qt {

/// Which program this is, and of which version.
class VersionWindow : public DismissibleWindow
{
    Q_OBJECT

public:
    explicit VersionWindow(QWidget* parent = nullptr);
};

} // namespace tidemark::qt
