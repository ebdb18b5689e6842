#include "devserver/RequestXml.h"

#include "devserver/Text.h"
#include "devserver/XmlTree.h"

namespace devserver {

namespace {

std::vector<PropertyName> namesIn(const XmlElement& element)
{
    std::vector<PropertyName> names;
    for (const auto& child : element.children)
        names.push_back({child.nameSpace, child.name});
    return names;
}

} // namespace

std::optional<PropfindQuery> parsePropfind(std::string_view body)
{
    if (trimmed(body).empty()) return PropfindQuery();
    const auto root = parseXml(body);
    if (!root || !root->is("propfind")) return {};
    PropfindQuery query;
    if (const auto* names = root->child("prop")) {
        query.kind = PropfindQuery::Kind::Named;
        query.names = namesIn(*names);
    } else if (root->child("propname") != nullptr) {
        query.kind = PropfindQuery::Kind::PropertyNames;
    } else if (root->child("allprop") == nullptr) {
        return {};
    } else if (const auto* included = root->child("include")) {
        query.names = namesIn(*included);
    }
    return query;
}

std::optional<std::vector<PropertyUpdate>> parsePropertyUpdate(std::string_view body)
{
    const auto root = parseXml(body);
    if (!root || !root->is("propertyupdate")) return {};
    std::vector<PropertyUpdate> updates;
    for (const auto& action : root->children) {
        const auto* properties = action.child("prop");
        if (properties == nullptr || (!action.is("set") && !action.is("remove"))) continue;
        for (const auto& property : properties->children)
            updates.push_back(
                {{property.nameSpace, property.name}, action.is("set") ? std::optional(property.inner) : std::nullopt});
    }
    if (updates.empty()) return {};
    return updates;
}

std::optional<LockQuery> parseLockInfo(std::string_view body)
{
    const auto root = parseXml(body);
    if (!root || !root->is("lockinfo")) return {};
    const auto* scope = root->child("lockscope");
    const auto* type = root->child("locktype");
    if (scope == nullptr || type == nullptr || type->child("write") == nullptr) return {};
    LockQuery query;
    query.exclusive = scope->child("shared") == nullptr;
    if (const auto* owner = root->child("owner")) query.owner = owner->inner;
    return query;
}

} // namespace devserver
