#pragma once

#include "devserver/DeadProperties.h"

#include <string>
#include <string_view>

namespace devserver {

// The element of a property: "<D:name/>" for DAV ones, others with their own namespace. `inner` is XML.
std::string propertyElement(const PropertyName& name, std::string_view inner);

// Writes the body of a 207 answer.
class MultiStatus
{
public:
    MultiStatus();
    void beginResponse(std::string_view href);
    // Properties of one status; nothing is written for an empty list.
    void propstat(int status, std::string_view properties);
    void endResponse();
    std::string finish();

private:
    std::string text_;
};

} // namespace devserver
