#include "devserver/PropertyHandler.h"

#include "devserver/HttpDate.h"
#include "devserver/LiveProperties.h"
#include "devserver/Text.h"
#include "devserver/XmlTree.h"

#include <algorithm>
#include <set>

namespace devserver {

namespace {

constexpr std::size_t documentLimit = 1 << 20;

Response multiStatusResponse(std::string document)
{
    Response response;
    response.status = 207;
    response.set("Content-Type", "application/xml; charset=utf-8");
    response.body = std::move(document);
    return response;
}

Response finiteDepthOnly()
{
    Response response = plainResponse(403);
    response.set("Content-Type", "application/xml; charset=utf-8");
    response.body = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                    "<D:error xmlns:D=\"DAV:\"><D:propfind-finite-depth/></D:error>\n";
    return response;
}

// The properties of one resource, sorted into those it has and those it lacks.
class PropertySheet
{
public:
    PropertySheet(const Resource& resource, PropertyMap dead, std::vector<Lock> locks)
        : resource_(resource), dead_(std::move(dead)), locks_(std::move(locks))
    {
        std::erase_if(dead_, [](auto& entry) { return entry.first.nameSpace == internalNamespace; });
    }

    void take(const PropfindQuery& query)
    {
        if (query.kind != PropfindQuery::Kind::Named) addAll(query.kind == PropfindQuery::Kind::PropertyNames);
        for (const auto& name : query.names)
            if (!taken_.contains(name)) add(name);
    }

    const std::string& found() const { return found_; }
    const std::string& missing() const { return missing_; }

private:
    void addAll(bool namesOnly)
    {
        for (const auto& name : LiveProperties::names(resource_.isFolder()))
            add({std::string(davNamespace), name}, namesOnly);
        for (const auto& [name, value] : dead_)
            add(name, namesOnly);
    }

    void add(const PropertyName& name, bool nameOnly = false)
    {
        taken_.insert(name);
        if (const auto value = valueOf(name))
            found_ += propertyElement(name, nameOnly ? "" : *value);
        else
            missing_ += propertyElement(name, "");
    }

    std::optional<std::string> valueOf(const PropertyName& name) const
    {
        if (name.nameSpace == davNamespace)
            if (auto value = LiveProperties::value(name.name, resource_, locks_)) return value;
        const auto found = dead_.find(name);
        return found == dead_.end() ? std::nullopt : std::optional(found->second);
    }

    const Resource& resource_;
    PropertyMap dead_;
    std::vector<Lock> locks_;
    std::set<PropertyName> taken_;
    std::string found_;
    std::string missing_;
};

std::string namesOf(const std::vector<PropertyUpdate>& updates, bool live)
{
    std::string text;
    for (const auto& update : updates)
        if (LiveProperties::isLive(update.name) == live) text += propertyElement(update.name, "");
    return text;
}

void writeAddedEntry(MultiStatus& document, const fault::AddEntry& entry)
{
    const std::string type = entry.folder ? "<D:resourcetype><D:collection/></D:resourcetype>" : "<D:resourcetype/>";
    document.beginResponse(entry.href);
    document.propstat(200, type + "<D:getcontentlength>" + std::to_string(entry.size) +
                               "</D:getcontentlength><D:getlastmodified>" + httpDate(0) + "</D:getlastmodified>");
    document.endResponse();
}

} // namespace

Response PropertyHandler::find(const Request& request, const Resource& resource, BodySource& body) const
{
    const auto text = readAll(body, documentLimit);
    if (!text) return plainResponse(413);
    const auto query = parsePropfind(*text);
    if (!query) return plainResponse(400);
    if (!resource.status) return plainResponse(404);
    const auto depth = request.header("Depth").value_or("infinity");
    if (depth != "0" && depth != "1") return depth == "infinity" ? finiteDepthOnly() : plainResponse(400);
    if (resource.isFolder())
        if (auto problem = site_.slashProblem(resource)) return std::move(*problem);
    MultiStatus document;
    writeEntry(document, request, resource, *query);
    if (depth == "1" && resource.isFolder()) writeMembers(document, request, resource, *query);
    for (const auto& entry : request.listing.added)
        writeAddedEntry(document, entry);
    return multiStatusResponse(document.finish());
}

Response PropertyHandler::patch(const Request& request, const Resource& resource, BodySource& body) const
{
    const auto text = readAll(body, documentLimit);
    if (!text) return plainResponse(413);
    const auto updates = parsePropertyUpdate(*text);
    if (!updates) return plainResponse(400);
    if (!resource.status) return plainResponse(404);
    if (!site_.mayChange(request, resource, false)) return plainResponse(423);
    // All or nothing: one property that cannot be set keeps the others from being set.
    const std::string refused = namesOf(*updates, true);
    const std::string others = namesOf(*updates, false);
    if (refused.empty()) {
        std::vector<std::pair<PropertyName, std::optional<std::string>>> changes;
        for (const auto& update : *updates)
            changes.emplace_back(update.name, update.value);
        site_.properties.change(resource.file, changes);
    }
    MultiStatus document;
    document.beginResponse(site_.tree.href(resource, site_.options.rawPlusInHref));
    document.propstat(403, refused);
    document.propstat(refused.empty() ? 200 : 424, others);
    document.endResponse();
    return multiStatusResponse(document.finish());
}

void PropertyHandler::writeEntry(MultiStatus& document, const Request& request, const Resource& resource,
                                 const PropfindQuery& query) const
{
    std::string href = site_.tree.href(resource, site_.options.rawPlusInHref);
    for (const auto& change : request.listing.replaced)
        if (change.name == lastComponent(resource.path)) href = change.href;
    PropertySheet sheet(resource, site_.properties.of(resource.file), site_.locks.covering(resource.path));
    sheet.take(query);
    document.beginResponse(href);
    document.propstat(200, sheet.found());
    document.propstat(404, sheet.missing());
    document.endResponse();
}

void PropertyHandler::writeMembers(MultiStatus& document, const Request& request, const Resource& folder,
                                   const PropfindQuery& query) const
{
    std::set<std::string> names;
    std::error_code error;
    for (std::filesystem::directory_iterator it(folder.file, error), end; it != end; it.increment(error))
        names.insert(it->path().filename().string());
    for (const auto& name : names)
        if (const auto member = site_.tree.member(folder, name); member && member->status)
            writeEntry(document, request, *member, query);
}

} // namespace devserver
