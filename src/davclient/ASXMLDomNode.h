#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tidemark {

/// An element of a response document, known by its lower-cased local name; attributes and name spaces are dropped. A
/// parent owns its children.
class ASXMLDomNode
{
public:
    explicit ASXMLDomNode(std::string elementName) : elementName_(std::move(elementName)) {}
    ASXMLDomNode(const ASXMLDomNode&) = delete;
    ASXMLDomNode& operator=(const ASXMLDomNode&) = delete;

    const std::string& elementName() const { return elementName_; }
    /// All character data directly inside the element, white space included; "" where there is none.
    const std::string& elementValue() const { return elementValue_; }
    void appendValue(std::string_view text) { elementValue_.append(text); }
    const std::vector<std::unique_ptr<ASXMLDomNode>>& children() const { return children_; }
    /// Null for the root.
    ASXMLDomNode* parent() const { return parent_; }

    /// Adds `child` at the end; returns it.
    ASXMLDomNode* appendChild(std::unique_ptr<ASXMLDomNode> child);
    /// Direct children of that name in document order; empty where there is none.
    std::vector<const ASXMLDomNode*> findName(std::string_view name) const;
    /// The first direct child of that name, or null.
    const ASXMLDomNode* findFirstName(std::string_view name) const;
    /// Follows findFirstName() along a path such as "propstat/prop"; "" is this node itself.
    const ASXMLDomNode* findFirstXName(std::string_view path) const;
    /// Index of the first direct child at or after `from`, or -1.
    std::int64_t findIndexName(std::string_view name, std::uint32_t from) const;
    /// 0 for the root.
    unsigned depth() const;
    /// Logs the tree at debug level.
    void debugDump(const std::string& prefix = {}) const;

private:
    std::string elementName_;
    std::string elementValue_;
    std::vector<std::unique_ptr<ASXMLDomNode>> children_;
    ASXMLDomNode* parent_ = nullptr;
};

} // namespace tidemark
