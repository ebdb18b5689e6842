#include "devserver/XmlTree.h"

#include "devserver/Text.h"

#include <expat.h>
#include <memory>

namespace devserver {

namespace {

constexpr std::size_t maximumDepth = 100;
constexpr char separator = '\n';

struct Builder
{
    XML_Parser parser;
    std::vector<XmlElement> open;
    std::vector<std::string> attributes; // of each open element, as XML
    std::optional<XmlElement> root;
};

void startElement(void* data, const XML_Char* name, const XML_Char** attributes)
{
    auto& builder = *static_cast<Builder*>(data);
    if (builder.open.size() == maximumDepth) {
        XML_StopParser(builder.parser, XML_FALSE);
        return;
    }
    const std::string_view full(name);
    const auto at = full.rfind(separator);
    XmlElement element;
    if (at != std::string_view::npos) element.nameSpace = full.substr(0, at);
    element.name = at == std::string_view::npos ? full : full.substr(at + 1);
    builder.open.push_back(std::move(element));
    std::string text;
    for (; *attributes != nullptr; attributes += 2)
        if (std::string_view(attributes[0]).find(separator) == std::string_view::npos)
            text += " " + std::string(attributes[0]) + "=\"" + xmlEscaped(attributes[1]) + "\"";
    builder.attributes.push_back(std::move(text));
}

void endElement(void* data, const XML_Char*)
{
    auto& builder = *static_cast<Builder*>(data);
    XmlElement element = std::move(builder.open.back());
    const std::string attributes = std::move(builder.attributes.back());
    builder.open.pop_back();
    builder.attributes.pop_back();
    if (builder.open.empty()) {
        builder.root = std::move(element);
        return;
    }
    XmlElement& parent = builder.open.back();
    parent.inner += "<" + element.name + " xmlns=\"" + xmlEscaped(element.nameSpace) + "\"" + attributes + ">" +
                    element.inner + "</" + element.name + ">";
    parent.children.push_back(std::move(element));
}

void characters(void* data, const XML_Char* text, int length)
{
    XmlElement& element = static_cast<Builder*>(data)->open.back();
    const std::string_view piece(text, static_cast<std::size_t>(length));
    element.text += piece;
    element.inner += xmlEscaped(piece);
}

void refuseDocumentType(void* data, const XML_Char*, const XML_Char*, const XML_Char*, int)
{
    XML_StopParser(static_cast<Builder*>(data)->parser, XML_FALSE);
}

} // namespace

const XmlElement* XmlElement::child(std::string_view davName) const
{
    for (const auto& element : children)
        if (element.is(davName)) return &element;
    return nullptr;
}

std::optional<XmlElement> parseXml(std::string_view text)
{
    const std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)> parser(XML_ParserCreateNS(nullptr, separator),
                                                                              &XML_ParserFree);
    Builder builder{parser.get(), {}, {}, {}};
    XML_SetUserData(parser.get(), &builder);
    XML_SetElementHandler(parser.get(), startElement, endElement);
    XML_SetCharacterDataHandler(parser.get(), characters);
    XML_SetStartDoctypeDeclHandler(parser.get(), refuseDocumentType);
    if (XML_Parse(parser.get(), text.data(), static_cast<int>(text.size()), XML_TRUE) != XML_STATUS_OK) return {};
    return std::move(builder.root);
}

} // namespace devserver
