#pragma once

#include "platform/Result.h"

/// Whether the desktop starts the application with the session: a desktop file in the user's autostart folder.
namespace tidemark::qt::Autostart {

bool isOn();
/// Fails (domain "POSIX") where the file cannot be written or removed.
Status set(bool on);

} // namespace tidemark::qt::Autostart
