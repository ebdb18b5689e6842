#include "davclient/ASXMLDomParser.h"

#include <gtest/gtest.h>

namespace tidemark {
namespace {

std::shared_ptr<ASXMLDomNode> parsed(const std::string& document)
{
    ASXMLDomParser parser;
    EXPECT_TRUE(parser.parse(document));
    EXPECT_FALSE(parser.error()) << parser.error()->description();
    return parser.rootElement();
}

TEST(ASXMLDomParser, KnowsElementsByTheirLowerCasedLocalName)
{
    const auto root = parsed("<?xml version='1.0'?><D:MultiStatus xmlns:D='DAV:' a='b'><lp1:HREF/><href/>"
                             "<x:y:PropStat>v</x:y:PropStat></D:MultiStatus>");
    EXPECT_EQ(root->elementName(), "multistatus");
    EXPECT_EQ(root->findName("href").size(), 2U);
    EXPECT_EQ(root->findFirstName("propstat")->elementValue(), "v");
}

TEST(ASXMLDomParser, KeepsTextAsItIs)
{
    const auto root = parsed("<a>\n <b>x &amp; <![CDATA[<y>]]>\xc3\xa4&#228;</b>\n<c> </c></a>");
    EXPECT_EQ(root->elementValue(), "\n \n");
    EXPECT_EQ(root->findFirstName("b")->elementValue(), "x & <y>\xc3\xa4\xc3\xa4");
    EXPECT_EQ(root->findFirstName("c")->elementValue(), " ");
    EXPECT_EQ(parsed("<a><b/></a>")->elementValue(), "");
    EXPECT_EQ(parsed("<?xml version='1.0' encoding='iso-8859-1'?><a>\xe4</a>")->elementValue(), "\xc3\xa4");
}

TEST(ASXMLDomParser, AnswersQueries)
{
    const auto root = parsed("<m><r><p><prop><t><collection/></t></prop></p></r><r/><x/><r/></m>");
    EXPECT_EQ(root->findFirstXName(""), root.get());
    const auto* prop = root->findFirstXName("r/p/prop");
    ASSERT_TRUE(prop);
    EXPECT_EQ(prop->depth(), 3U);
    EXPECT_EQ(prop->parent()->elementName(), "p");
    EXPECT_TRUE(prop->findFirstXName("t/collection"));
    EXPECT_FALSE(root->findFirstXName("r/missing/prop"));
    EXPECT_TRUE(root->findName("missing").empty());
    EXPECT_EQ(root->findIndexName("r", 0), 0);
    EXPECT_EQ(root->findIndexName("r", 1), 1);
    EXPECT_EQ(root->findIndexName("r", 2), 3);
    EXPECT_EQ(root->findIndexName("x", 3), -1);
    EXPECT_EQ(root->findIndexName("r", 4), -1);
    EXPECT_EQ(root->findIndexName("r", 0xffffffffU), -1);
    EXPECT_EQ(root->depth(), 0U);
}

TEST(ASXMLDomParser, AMalformedDocumentKeepsWhatWasBuilt)
{
    ASXMLDomParser parser;
    parser.parse("<a><b>text</b><c></a>");
    ASSERT_TRUE(parser.error());
    EXPECT_EQ(parser.rootElement()->findFirstName("b")->elementValue(), "text");
    for (const auto* document : {"", "text", "<a", "<a>\xff</a>", "<a/><b/>", "<a b=1/>"}) {
        parser.parse(document);
        EXPECT_TRUE(parser.error()) << document;
    }
    parser.parse("<a/>");
    EXPECT_FALSE(parser.error());
}

TEST(ASXMLDomParser, RefusesADoctypeAndWhatItBrings)
{
    ASXMLDomParser parser;
    parser.parse("<!DOCTYPE a [<!ENTITY x 'xxxxxxxxxx'><!ENTITY y '&x;&x;&x;'>]><a>&y;</a>");
    ASSERT_TRUE(parser.error());
    EXPECT_NE(parser.error()->description().find("DOCTYPE"), std::string::npos);
    EXPECT_FALSE(parser.rootElement());
}

TEST(ASXMLDomParser, LimitsDepthAndNumber)
{
    const auto nested = [](std::size_t levels) {
        std::string document;
        for (std::size_t i = 0; i < levels; ++i)
            document += "<a>";
        for (std::size_t i = 0; i < levels; ++i)
            document += "</a>";
        ASXMLDomParser parser;
        parser.parse(document);
        return !parser.error();
    };
    EXPECT_TRUE(nested(256));
    EXPECT_FALSE(nested(257));
    EXPECT_FALSE(nested(1'000'000));

    std::string many = "<a>";
    for (std::size_t i = 0; i < ASXMLDomParser::maximumElements; ++i)
        many += "<b/>";
    ASXMLDomParser parser;
    parser.parse(many + "</a>");
    EXPECT_TRUE(parser.error());
}

class Recorder : public ASXMLDomParserDelegate
{
public:
    void didStartNode(ASXMLDomParser&, const ASXMLDomNode& node) override
    {
        events += "<" + node.elementName() + std::to_string(node.depth());
    }
    void didEndNode(ASXMLDomParser&, const ASXMLDomNode& node) override { events += ">" + node.elementValue(); }
    void parserDidFinishDocument(ASXMLDomParser&) override { events += "."; }
    void parserError(ASXMLDomParser& parser) override { events += parser.error() ? "!" : "?"; }
    std::string events;
};

TEST(ASXMLDomParser, TellsItsDelegate)
{
    ASXMLDomParser parser;
    Recorder recorder;
    parser.setDelegate(&recorder);
    parser.parse("<a><b>x</b></a>");
    EXPECT_EQ(recorder.events, "<a0<b1>x>.");
    recorder.events.clear();
    parser.parse("<a><b></a>");
    EXPECT_EQ(recorder.events, "<a0<b1!");
}

} // namespace
} // namespace tidemark
