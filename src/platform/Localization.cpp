#include "platform/Localization.h"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <mutex>
#include <nlohmann/json.hpp>
#include <set>

#include "platform/LocalizationTables.h"

namespace tidemark::Localization {

namespace {

constexpr std::string_view fallbackLanguage = "en";

using Table = std::map<std::string, std::string, std::less<>>;
using Language = std::map<std::string, Table, std::less<>>;
using Languages = std::map<std::string, Language, std::less<>>;

Languages loadTables()
{
    Languages loaded;
    for (const auto& embedded : embeddedTables()) {
        auto& table = loaded[std::string(embedded.language)][std::string(embedded.table)];
        const auto texts = nlohmann::json::parse(embedded.json);
        for (const auto& [key, value] : texts.items())
            table[key] = value;
    }
    return loaded;
}

const Languages& allTables()
{
    static const Languages tables = loadTables();
    return tables;
}

const Table* find(std::string_view language, std::string_view table)
{
    auto byLanguage = allTables().find(language);
    if (byLanguage == allTables().end()) return nullptr;
    auto byName = byLanguage->second.find(table);
    return byName == byLanguage->second.end() ? nullptr : &byName->second;
}

/// "de" of "de_AT.UTF-8@euro".
std::string_view languageOfLocale(std::string_view locale)
{
    return locale.substr(0, locale.find_first_of("_.@-"));
}

bool isUntranslated(std::string_view locale)
{
    const auto language = languageOfLocale(locale);
    return language.empty() || language == "C" || language == "POSIX";
}

/// The locale itself where no languages are listed.
std::string_view wantedLanguages(const Environment& environment)
{
    const auto& locale = !environment.lcAll.empty()        ? environment.lcAll
                         : !environment.lcMessages.empty() ? environment.lcMessages
                                                           : environment.lang;
    return environment.language.empty() || isUntranslated(locale) ? locale : environment.language;
}

std::string variable(const char* name)
{
    const char* value = std::getenv(name);
    return value ? value : "";
}

struct Chosen
{
    std::mutex mutex; // guards language
    std::string language = languageFor({.lcAll = variable("LC_ALL"),
                                        .lcMessages = variable("LC_MESSAGES"),
                                        .lang = variable("LANG"),
                                        .language = variable("LANGUAGE")});
};

Chosen& chosen()
{
    static Chosen state;
    return state;
}

} // namespace

std::string languageFor(const Environment& environment)
{
    auto rest = wantedLanguages(environment);
    while (!rest.empty()) {
        const auto end = std::min(rest.find(':'), rest.size());
        const auto language = languageOfLocale(rest.substr(0, end));
        if (allTables().contains(language)) return std::string(language);
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return std::string(fallbackLanguage);
}

std::string text(std::string_view table, std::string_view key)
{
    auto own = text(language(), table, key);
    return own.empty() ? text(fallbackLanguage, table, key) : own;
}

void setLanguage(std::string language)
{
    std::lock_guard lock(chosen().mutex);
    chosen().language = std::move(language);
}

std::string language()
{
    std::lock_guard lock(chosen().mutex);
    return chosen().language;
}

std::vector<std::string> languages()
{
    std::vector<std::string> names;
    for (const auto& [name, tables] : allTables())
        names.push_back(name);
    return names;
}

std::vector<std::string> tables()
{
    std::set<std::string> names;
    for (const auto& [language, tables] : allTables())
        for (const auto& [name, table] : tables)
            names.insert(name);
    return {names.begin(), names.end()};
}

std::vector<std::string> keys(std::string_view language, std::string_view table)
{
    std::vector<std::string> names;
    if (const auto* found = find(language, table))
        for (const auto& [key, value] : *found)
            names.push_back(key);
    return names;
}

std::string text(std::string_view language, std::string_view table, std::string_view key)
{
    const auto* found = find(language, table);
    if (!found) return {};
    auto entry = found->find(key);
    return entry == found->end() ? std::string{} : entry->second;
}

} // namespace tidemark::Localization
