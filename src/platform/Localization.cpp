#include "platform/Localization.h"

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

/// The language of the first variable that is set, as the C library chooses its messages.
std::string environmentLanguage()
{
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const char* value = std::getenv(name);
        if (!value || !*value) continue;
        auto language = std::string(value).substr(0, 2);
        return std::string(allTables().contains(language) ? language : fallbackLanguage);
    }
    return std::string(fallbackLanguage);
}

struct Chosen
{
    std::mutex mutex; // guards language
    std::string language = environmentLanguage();
};

Chosen& chosen()
{
    static Chosen state;
    return state;
}

} // namespace

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
