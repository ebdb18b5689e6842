#include "Utils/MessageTemplate.h"

#include <string_view>

#include "platform/Localization.h"

namespace tidemark {

namespace {

constexpr std::string_view opening = "${";

void replaceAll(std::string& text, const std::string& what, const std::string& with)
{
    for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at + with.size()))
        text.replace(at, what.size(), with);
}

/// A placeholder ends on its own line.
std::string withoutPlaceholders(const std::string& text)
{
    std::string result;
    std::size_t from = 0;
    for (auto at = text.find(opening); at != std::string::npos; at = text.find(opening, at)) {
        const auto end = text.find_first_of("}\n", at);
        if (end == std::string::npos) break;
        if (text[end] == '}') {
            result.append(text, from, at - from);
            from = end + 1;
        }
        at = text[end] == '}' ? end + 1 : at + opening.size();
    }
    return result.append(text, from);
}

} // namespace

std::string fillPlaceholders(std::string text, const ReplaceMap& map)
{
    if (text.find(opening) == std::string::npos) return text;
    for (const auto& [name, value] : map)
        replaceAll(text, "${" + name + "}", value);
    return withoutPlaceholders(text);
}

std::string localizeAndFill(const std::string& key, const std::string& table, const ReplaceMap& map)
{
    return fillPlaceholders(Localization::text(table, key), map);
}

} // namespace tidemark
