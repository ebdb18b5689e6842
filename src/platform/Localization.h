#pragma once

#include <string>
#include <string_view>
#include <vector>

/// The texts of messages, by table and key. English is complete; another language falls back to it key by key.
namespace tidemark::Localization {

/// "" where no language has the key. Any thread.
std::string text(std::string_view table, std::string_view key);

/// A two-letter language; "en" until set, unless LC_ALL, LC_MESSAGES or LANG name one that has tables.
void setLanguage(std::string language);
std::string language();

std::vector<std::string> languages();
std::vector<std::string> tables();
std::vector<std::string> keys(std::string_view language, std::string_view table);
/// Without the fall-back to English.
std::string text(std::string_view language, std::string_view table, std::string_view key);

} // namespace tidemark::Localization
