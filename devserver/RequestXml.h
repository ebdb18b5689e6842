#pragma once

#include "devserver/DeadProperties.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace devserver {

struct PropfindQuery
{
    enum class Kind
    {
        AllProperties,
        PropertyNames,
        Named
    };
    Kind kind = Kind::AllProperties;
    std::vector<PropertyName> names; // asked for by name, or to be included beside all
};

struct PropertyUpdate
{
    PropertyName name;
    std::optional<std::string> value; // XML; nothing: remove
};

struct LockQuery
{
    bool exclusive = true;
    std::string owner; // XML
};

// Each is nothing when the body is no well-formed document of its kind.
std::optional<PropfindQuery> parsePropfind(std::string_view body); // an empty body asks for all properties
std::optional<std::vector<PropertyUpdate>> parsePropertyUpdate(std::string_view body);
std::optional<LockQuery> parseLockInfo(std::string_view body);

} // namespace devserver
