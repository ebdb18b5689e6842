#pragma once

#include <QString>

#include "app/SyncItem.h"
#include "app/SyncItems.h"

/// Items in the words and formats of the user's language.
namespace tidemark::qt {

QString directionText(Direction direction);
QString changeText(Change change);
QString stateText(SyncItems::State state);
/// "" where a size says nothing: a folder, a deletion.
QString sizeText(const SyncItem& item);
/// "" where the time is not known.
QString timeText(const std::optional<dates::Seconds>& time);
/// A path for one line: what would break the line or turn its direction is shown as "�".
QString pathText(const std::string& path);

} // namespace tidemark::qt
