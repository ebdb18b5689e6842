#include <algorithm>
#include <strings.h>

#include "platform/HttpStream.h"

namespace tidemark {

namespace {

bool sameName(std::string_view a, std::string_view b)
{
    return a.size() == b.size() && strncasecmp(a.data(), b.data(), a.size()) == 0;
}

} // namespace

void HttpHeader::add(std::string name, std::string value)
{
    fields_.emplace_back(std::move(name), std::move(value));
}

void HttpHeader::set(const std::string& name, std::string value)
{
    const auto first = std::find_if(fields_.begin(), fields_.end(), [&](auto& f) { return sameName(f.first, name); });
    if (first == fields_.end()) return add(name, std::move(value));
    first->second = std::move(value);
    fields_.erase(std::remove_if(first + 1, fields_.end(), [&](auto& f) { return sameName(f.first, name); }),
                  fields_.end());
}

void HttpHeader::remove(const std::string& name)
{
    std::erase_if(fields_, [&](const auto& field) { return sameName(field.first, name); });
}

std::optional<std::string> HttpHeader::value(std::string_view name) const
{
    std::optional<std::string> joined;
    for (const auto& [fieldName, fieldValue] : fields_) {
        if (!sameName(fieldName, name)) continue;
        joined = joined ? *joined + ", " + fieldValue : fieldValue;
    }
    return joined;
}

std::vector<std::string> HttpHeader::values(std::string_view name) const
{
    std::vector<std::string> all;
    for (const auto& [fieldName, fieldValue] : fields_)
        if (sameName(fieldName, name)) all.push_back(fieldValue);
    return all;
}

} // namespace tidemark
