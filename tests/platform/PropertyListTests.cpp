#include <gtest/gtest.h>

#include <limits>

#include "platform/PropertyList.h"

using namespace tidemark;

namespace {

const PropertyList sample = PropertyList::Dictionary{
    {"text", "a < b & \xC3\xA9 \"q\""},
    {"empty", ""},
    {"integer", std::int64_t{-5}},
    {"large", std::numeric_limits<std::int64_t>::max()},
    {"real", 0.25},
    {"yes", true},
    {"no", false},
    {"data", PropertyList::Data{std::string("\0\xff\x01", 3)}},
    {"date", dates::parseIsoDate("2024-02-29T12:34:56Z").value()},
    {"before", dates::parseIsoDate("1999-12-31T23:59:59Z").value()},
    {"list", PropertyList::Array{"x", 1, PropertyList::Array{}, PropertyList()}},
};

} // namespace

TEST(PropertyList, BothFormsKeepEveryType)
{
    EXPECT_EQ(PropertyList::parse(sample.toXml()).value(), sample);
    EXPECT_EQ(PropertyList::parse(sample.toBinary()).value(), sample);
}

TEST(PropertyList, DatesBeyondTheFormatStopAtItsEnds)
{
    auto kept = [](const char* iso) {
        auto list = PropertyList::parse(PropertyList(dates::parseIsoDate(iso).value()).toXml()).value();
        return dates::formatIsoDate(*list.get<dates::Time>());
    };
    EXPECT_EQ(kept("2255-01-01T00:00:00Z"), "2069-01-19T03:14:07Z");
    EXPECT_EQ(kept("1700-01-01T00:00:00Z"), "1932-12-13T20:45:52Z");
}

TEST(PropertyList, XmlOfOtherWritersIsRead)
{
    auto list = PropertyList::parse("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                    "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                                    "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                                    "<plist version=\"1.0\"><dict><!-- why --><key>a&amp;b</key><string>&#233;</string>"
                                    "<key>n</key><integer>0x10</integer><key>t</key><true/></dict></plist>")
                    .value();
    auto& values = *list.get<PropertyList::Dictionary>();
    EXPECT_EQ(values.at("a&b").stringValue(), "\xC3\xA9");
    EXPECT_EQ(values.at("n").integerValue(), 16);
    EXPECT_TRUE(values.at("t").boolValue());
}

TEST(PropertyList, OtherDocumentsAreRefused)
{
    std::string deep = "<plist version=\"1.0\">";
    for (int i = 0; i < 1000; ++i)
        deep += "<array>";
    for (int i = 0; i < 1000; ++i)
        deep += "</array>";
    auto xml = sample.toXml();
    auto binary = sample.toBinary();
    for (const auto& document : {std::string(), std::string("text"), xml.substr(0, xml.size() / 2),
                                 binary.substr(0, binary.size() - 20), deep + "</plist>"}) {
        auto refused = PropertyList::parse(document);
        ASSERT_FALSE(refused) << document.substr(0, 40);
        EXPECT_EQ(refused.error().domain, "PropertyList");
    }
}

TEST(PropertyList, ValuesAreConverted)
{
    EXPECT_EQ(PropertyList(" -12abc").integerValue(), -12);
    EXPECT_EQ(PropertyList("+7").integerValue(), 7);
    EXPECT_EQ(PropertyList("--7").integerValue(), 0);
    EXPECT_EQ(PropertyList("x").integerValue(), 0);
    EXPECT_EQ(PropertyList("99999999999999999999").integerValue(), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(PropertyList(-2.9).integerValue(), -2);
    EXPECT_EQ(PropertyList(1e300).integerValue(), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(PropertyList(true).integerValue(), 1);
    EXPECT_EQ(PropertyList(std::int64_t{-3}).stringValue(), "-3");
    EXPECT_EQ(PropertyList(0.5).stringValue(), "0.5");
    EXPECT_EQ(PropertyList().stringValue(), "");
    for (const char* text : {"YES", "true", " 1", "-9", "y"})
        EXPECT_TRUE(PropertyList(text).boolValue()) << text;
    for (const char* text : {"NO", "false", "0", "", "on"})
        EXPECT_FALSE(PropertyList(text).boolValue()) << text;
}
