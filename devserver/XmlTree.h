#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace devserver {

inline constexpr std::string_view davNamespace = "DAV:";

struct XmlElement
{
    std::string nameSpace;
    std::string name;
    std::string text;  // of the element itself
    std::string inner; // its content as XML that stands on its own
    std::vector<XmlElement> children;

    bool is(std::string_view davName) const { return nameSpace == davNamespace && name == davName; }
    const XmlElement* child(std::string_view davName) const;
};

// The root element; nothing when the text is not well-formed, has a document type or nests over 100 levels.
std::optional<XmlElement> parseXml(std::string_view text);

} // namespace devserver
