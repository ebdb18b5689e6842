#include "davclient/ASXMLDomParser.h"

#include <algorithm>
#include <climits>
#include <memory>
#include <type_traits>

#include <expat.h>

namespace tidemark {

namespace {

/// Codes of errors that are not expat's.
constexpr int forbiddenDocument = 1000;

char lowered(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

std::string localName(std::string_view qualifiedName)
{
    const auto colon = qualifiedName.rfind(':');
    if (colon != std::string_view::npos) qualifiedName.remove_prefix(colon + 1);
    std::string name(qualifiedName.size(), '\0');
    std::transform(qualifiedName.begin(), qualifiedName.end(), name.begin(), lowered);
    return name;
}

} // namespace

struct ASXMLDomParser::Events
{
    struct Context
    {
        ASXMLDomParser& parser;
        XML_Parser expat;
    };

    static void XMLCALL start(void* data, const XML_Char* name, const XML_Char**)
    {
        auto* context = static_cast<Context*>(data);
        if (!context->parser.startElement(name)) XML_StopParser(context->expat, XML_FALSE);
    }

    static void XMLCALL end(void* data, const XML_Char*) { static_cast<Context*>(data)->parser.endElement(); }

    static void XMLCALL text(void* data, const XML_Char* characters, int length)
    {
        auto& parser = static_cast<Context*>(data)->parser;
        if (parser.currentElement_) parser.currentElement_->appendValue({characters, static_cast<std::size_t>(length)});
    }

    static void XMLCALL doctype(void* data, const XML_Char*, const XML_Char*, const XML_Char*, int)
    {
        auto* context = static_cast<Context*>(data);
        context->parser.setError(forbiddenDocument, "The document has a DOCTYPE.");
        XML_StopParser(context->expat, XML_FALSE);
    }
};

bool ASXMLDomParser::parse(std::string_view data)
{
    stack_.clear();
    currentElement_ = nullptr;
    rootElement_ = nullptr;
    error_.reset();
    elements_ = 0;

    const std::unique_ptr<std::remove_pointer_t<XML_Parser>, decltype(&XML_ParserFree)> expat(XML_ParserCreate(nullptr),
                                                                                              XML_ParserFree);
    Events::Context context{*this, expat.get()};
    XML_SetUserData(expat.get(), &context);
    XML_SetElementHandler(expat.get(), Events::start, Events::end);
    XML_SetCharacterDataHandler(expat.get(), Events::text);
    XML_SetStartDoctypeDeclHandler(expat.get(), Events::doctype);

    const bool fits = data.size() <= INT_MAX;
    const bool complete =
        fits && XML_Parse(expat.get(), data.data(), static_cast<int>(data.size()), XML_TRUE) == XML_STATUS_OK;
    stack_.clear();
    currentElement_ = nullptr;
    if (complete) {
        if (delegate_) delegate_->parserDidFinishDocument(*this);
        return true;
    }
    const XML_Error code = XML_GetErrorCode(expat.get());
    const std::string line = std::to_string(XML_GetCurrentLineNumber(expat.get()));
    setError(code, std::string(fits ? XML_ErrorString(code) : "document too large") + " in line " + line);
    if (delegate_) delegate_->parserError(*this);
    return true;
}

bool ASXMLDomParser::startElement(std::string_view qualifiedName)
{
    const std::size_t level = stack_.size() + (currentElement_ ? 2 : 1);
    if (level > maximumDepth) {
        setError(forbiddenDocument, "The document is nested too deeply.");
        return false;
    }
    if (++elements_ > maximumElements) {
        setError(forbiddenDocument, "The document has too many elements.");
        return false;
    }
    if (currentElement_) {
        stack_.push_back(currentElement_);
        currentElement_ = currentElement_->appendChild(std::make_unique<ASXMLDomNode>(localName(qualifiedName)));
    } else {
        rootElement_ = std::make_shared<ASXMLDomNode>(localName(qualifiedName));
        currentElement_ = rootElement_.get();
    }
    if (delegate_) delegate_->didStartNode(*this, *currentElement_);
    return true;
}

void ASXMLDomParser::endElement()
{
    if (delegate_ && currentElement_) delegate_->didEndNode(*this, *currentElement_);
    currentElement_ = stack_.empty() ? nullptr : stack_.back();
    if (!stack_.empty()) stack_.pop_back();
}

/// The first error counts: one of ours makes expat report another, "parsing aborted".
void ASXMLDomParser::setError(int code, std::string text)
{
    if (!error_) error_ = Error{errorDomain, code, {{Error::descriptionKey, std::move(text)}}};
}

} // namespace tidemark
