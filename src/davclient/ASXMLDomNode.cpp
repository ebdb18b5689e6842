#include "davclient/ASXMLDomNode.h"

#include <algorithm>

#include "Logger/BXLogger.h"

namespace tidemark {

ASXMLDomNode* ASXMLDomNode::appendChild(std::unique_ptr<ASXMLDomNode> child)
{
    child->parent_ = this;
    children_.push_back(std::move(child));
    return children_.back().get();
}

std::vector<const ASXMLDomNode*> ASXMLDomNode::findName(std::string_view name) const
{
    std::vector<const ASXMLDomNode*> found;
    for (const auto& child : children_)
        if (child->elementName_ == name) found.push_back(child.get());
    return found;
}

const ASXMLDomNode* ASXMLDomNode::findFirstName(std::string_view name) const
{
    const auto index = findIndexName(name, 0);
    return index < 0 ? nullptr : children_[static_cast<std::size_t>(index)].get();
}

const ASXMLDomNode* ASXMLDomNode::findFirstXName(std::string_view path) const
{
    const ASXMLDomNode* node = this;
    while (node && !path.empty()) {
        const auto end = std::min(path.find('/'), path.size());
        node = node->findFirstName(path.substr(0, end));
        path.remove_prefix(std::min(end + 1, path.size()));
    }
    return node;
}

std::int64_t ASXMLDomNode::findIndexName(std::string_view name, std::uint32_t from) const
{
    if (from >= children_.size()) return -1;
    const auto found = std::find_if(children_.begin() + from, children_.end(),
                                    [&](const auto& child) { return child->elementName_ == name; });
    return found == children_.end() ? -1 : found - children_.begin();
}

unsigned ASXMLDomNode::depth() const
{
    unsigned depth = 0;
    for (const ASXMLDomNode* node = parent_; node; node = node->parent_)
        ++depth;
    return depth;
}

void ASXMLDomNode::debugDump(const std::string& prefix) const
{
    BXLogger::getLogger()->debug("{}/{}='{}'", prefix, elementName_, elementValue_);
    for (const auto& child : children_)
        child->debugDump(prefix + "/" + elementName_);
}

} // namespace tidemark
