#pragma once

#include <string>
#include <string_view>
#include <vector>

/// The texts of messages, by table and key. English is complete; another language falls back to it key by key.
namespace tidemark::Localization {

/// "" where no language has the key. Any thread.
std::string text(std::string_view table, std::string_view key);

/// A language such as "de". Until set, the one that the environment asks for.
void setLanguage(std::string language);
std::string language();

/// The variables of the environment that choose the language of messages; "" where one is not set.
struct Environment
{
    std::string lcAll{};
    std::string lcMessages{};
    std::string lang{};
    std::string language{};
};

/// The language with tables that the variables ask for, whether or not the system has that locale. The locale is the
/// first of LC_ALL, LC_MESSAGES and LANG that is set. LANGUAGE, a list such as "de_AT:fr", goes before it, except
/// before the locale "C", which means English.
std::string languageFor(const Environment& environment);

std::vector<std::string> languages();
std::vector<std::string> tables();
std::vector<std::string> keys(std::string_view language, std::string_view table);
/// Without the fall-back to English.
std::string text(std::string_view language, std::string_view table, std::string_view key);

} // namespace tidemark::Localization
