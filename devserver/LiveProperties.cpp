#include "devserver/LiveProperties.h"

#include "devserver/HttpDate.h"
#include "devserver/Text.h"
#include "devserver/XmlTree.h"

#include <algorithm>

namespace devserver {

namespace {

constexpr std::string_view supportedLock =
    "<D:lockentry><D:lockscope><D:exclusive/></D:lockscope><D:locktype><D:write/></D:locktype></D:lockentry>"
    "<D:lockentry><D:lockscope><D:shared/></D:lockscope><D:locktype><D:write/></D:locktype></D:lockentry>";

} // namespace

const std::vector<std::string>& LiveProperties::names(bool folder)
{
    static const std::vector<std::string> ofFolder = {"resourcetype",  "creationdate",  "getlastmodified", "getetag",
                                                      "supportedlock", "lockdiscovery", "displayname"};
    static const std::vector<std::string> ofFile = {"resourcetype",    "creationdate", "getcontentlength",
                                                    "getlastmodified", "getetag",      "supportedlock",
                                                    "lockdiscovery",   "displayname"};
    return folder ? ofFolder : ofFile;
}

bool LiveProperties::isLive(const PropertyName& name)
{
    return name.nameSpace == davNamespace && std::ranges::count(names(false), name.name) > 0;
}

std::optional<std::string> LiveProperties::value(std::string_view name, const Resource& resource,
                                                 const std::vector<Lock>& locks)
{
    const FileStatus& status = *resource.status;
    if (std::ranges::count(names(status.folder), name) == 0) return {};
    if (name == "resourcetype") return status.folder ? "<D:collection/>" : "";
    if (name == "creationdate") return isoDate(status.created);
    if (name == "getcontentlength") return std::to_string(status.size);
    if (name == "getlastmodified") return httpDate(status.modified);
    if (name == "getetag") return xmlEscaped(status.etag);
    if (name == "supportedlock") return std::string(supportedLock);
    if (name == "lockdiscovery") return lockDiscovery(locks);
    return xmlEscaped(lastComponent(resource.path));
}

std::string lockDiscovery(const std::vector<Lock>& locks)
{
    std::string text;
    for (const auto& lock : locks) {
        text += "<D:activelock><D:locktype><D:write/></D:locktype><D:lockscope>";
        text += lock.exclusive ? "<D:exclusive/>" : "<D:shared/>";
        text += "</D:lockscope><D:depth>" + std::string(lock.deep ? "infinity" : "0") + "</D:depth>";
        if (!lock.owner.empty()) text += "<D:owner>" + lock.owner + "</D:owner>";
        text += "<D:timeout>Second-" + std::to_string(lock.timeout.count()) + "</D:timeout><D:locktoken><D:href>" +
                lock.token + "</D:href></D:locktoken></D:activelock>";
    }
    return text;
}

} // namespace devserver
