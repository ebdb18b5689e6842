#include "devserver/MultiStatus.h"

#include "devserver/HttpMessage.h"
#include "devserver/Text.h"
#include "devserver/XmlTree.h"

namespace devserver {

std::string propertyElement(const PropertyName& name, std::string_view inner)
{
    const bool dav = name.nameSpace == davNamespace;
    const std::string tag = dav ? "D:" + name.name : name.nameSpace.empty() ? name.name : "P:" + name.name;
    std::string declaration;
    if (!dav && !name.nameSpace.empty()) declaration = " xmlns:P=\"" + xmlEscaped(name.nameSpace) + "\"";
    if (inner.empty()) return "<" + tag + declaration + "/>";
    return "<" + tag + declaration + ">" + std::string(inner) + "</" + tag + ">";
}

MultiStatus::MultiStatus() : text_("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<D:multistatus xmlns:D=\"DAV:\">\n") {}

void MultiStatus::beginResponse(std::string_view href)
{
    text_ += "<D:response>\n<D:href>" + xmlEscaped(href) + "</D:href>\n";
}

void MultiStatus::propstat(int status, std::string_view properties)
{
    if (properties.empty()) return;
    text_ += "<D:propstat>\n<D:prop>";
    text_ += properties;
    text_ += "</D:prop>\n<D:status>HTTP/1.1 " + std::to_string(status) + " " + std::string(reasonPhrase(status)) +
             "</D:status>\n</D:propstat>\n";
}

void MultiStatus::endResponse()
{
    text_ += "</D:response>\n";
}

std::string MultiStatus::finish()
{
    text_ += "</D:multistatus>\n";
    return std::move(text_);
}

} // namespace devserver
