#include "app/qt/Icons.h"

#include <QString>

/// Resources of a static library are found only after this; the macro has to stand outside of any namespace.
static void loadIcons()
{
    Q_INIT_RESOURCE(icons);
}

namespace tidemark::qt {

QIcon icon(const char* name)
{
    static const bool loaded = (loadIcons(), true);
    static_cast<void>(loaded);
    return QIcon(QStringLiteral(":/icons/%1.svg").arg(QLatin1String(name)));
}

} // namespace tidemark::qt
