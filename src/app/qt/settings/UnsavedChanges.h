#pragma once

#include <QString>

class QWidget;

namespace tidemark::qt {

enum class UnsavedAnswer
{
    save,
    discard,
    /// Also where the program closes meanwhile.
    keepEditing
};

/// Asks before changes are lost. Main thread.
UnsavedAnswer askAboutUnsaved(QWidget* parent, const QString& message);

} // namespace tidemark::qt
