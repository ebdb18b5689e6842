#pragma once

#include "devserver/DeadProperties.h"
#include "devserver/LockTable.h"
#include "devserver/ResourceTree.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace devserver {

// The properties of DAV: that the server computes.
class LiveProperties
{
public:
    // The names that a resource of that kind has, in the order of a listing.
    static const std::vector<std::string>& names(bool folder);
    static bool isLive(const PropertyName& name);
    // The property's XML content; nothing when the resource has none of that name.
    static std::optional<std::string> value(std::string_view name, const Resource& resource,
                                            const std::vector<Lock>& locks);
};

// The content of a lockdiscovery property.
std::string lockDiscovery(const std::vector<Lock>& locks);

} // namespace devserver
