#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "davclient/ASXMLDomNode.h"
#include "platform/Result.h"

namespace tidemark {

class ASXMLDomParser;

class ASXMLDomParserDelegate
{
public:
    virtual ~ASXMLDomParserDelegate() = default;
    /// The node has been made and linked.
    virtual void didStartNode(ASXMLDomParser&, const ASXMLDomNode&) {}
    /// The node is about to be closed.
    virtual void didEndNode(ASXMLDomParser&, const ASXMLDomNode&) {}
    virtual void parserDidFinishDocument(ASXMLDomParser&) {}
    virtual void parserError(ASXMLDomParser&) {}
};

/// Turns a response body into a tree of ASXMLDomNode. A document with a DOCTYPE, with elements nested over 256 levels
/// or with more than 4,000,000 elements is an error like a malformed one. One thread.
class ASXMLDomParser
{
public:
    static constexpr const char* errorDomain = "ASXMLDomParser";
    static constexpr std::size_t maximumDepth = 256;
    static constexpr std::size_t maximumElements = 4'000'000;

    /// Parses a whole document. Always true: look at error() and rootElement(). After an error the root is what had
    /// been built so far.
    bool parse(std::string_view data);

    /// Null until the first element; shares the tree, which outlives the parser.
    const std::shared_ptr<ASXMLDomNode>& rootElement() const { return rootElement_; }
    const std::optional<Error>& error() const { return error_; }
    ASXMLDomParserDelegate* delegate() const { return delegate_; }
    /// Not owned; null for none.
    void setDelegate(ASXMLDomParserDelegate* delegate) { delegate_ = delegate; }

private:
    struct Events;

    /// False where the document is to be refused.
    bool startElement(std::string_view qualifiedName);
    void endElement();
    void setError(int code, std::string text);

    std::vector<ASXMLDomNode*> stack_;
    ASXMLDomNode* currentElement_ = nullptr;
    std::size_t elements_ = 0;
    std::shared_ptr<ASXMLDomNode> rootElement_;
    std::optional<Error> error_;
    ASXMLDomParserDelegate* delegate_ = nullptr;
};

} // namespace tidemark
