#pragma once

#include <string>
#include <string_view>

#include <QString>

#include "Utils/MessageTemplate.h"

/// Between the engine's UTF-8 and Qt's strings. Any thread.
namespace tidemark::qt {

QString fromUtf8(std::string_view utf8);
std::string toUtf8(const QString& text);

/// A text of the localisation tables, in the chosen language.
QString text(std::string_view table, std::string_view key);
/// With its placeholders filled.
QString text(std::string_view table, std::string_view key, const ReplaceMap& map);

} // namespace tidemark::qt
