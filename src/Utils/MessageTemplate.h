#pragma once

#include <map>
#include <string>

namespace tidemark {

/// Texts for the placeholders of a message, by name.
using ReplaceMap = std::map<std::string, std::string>;

/// `text` with each "${name}" replaced by the map's entry, name by name in the map's order. Placeholders that remain,
/// those inside replaced texts included, are deleted. A text without "${" comes back as it is.
std::string fillPlaceholders(std::string text, const ReplaceMap& map);

/// The localised text of `key` in `table`, filled; "" for a key without text.
std::string localizeAndFill(const std::string& key, const std::string& table, const ReplaceMap& map);

} // namespace tidemark
