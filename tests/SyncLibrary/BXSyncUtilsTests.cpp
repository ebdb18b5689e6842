#include "SyncLibrary/BXSyncUtils.h"

#include <gtest/gtest.h>

#include "platform/FileSystem.h"
#include "support/TempTree.h"

namespace tidemark {
namespace {

using test::file;
using test::TempTree;

TEST(BXSyncUtilsTest, DatesOfTheProtocol)
{
    constexpr double seconds = 784'111'777;
    for (const auto* text :
         {"Sun, 06 Nov 1994 08:49:37 GMT", "Sun, 06 Nov 1994 08:49:37 +0000", "Sun, 06 Nov 1994 10:49:37 +0200"}) {
        const auto parsed = BXSyncUtils::parseLastmodifiedDate(text);
        ASSERT_TRUE(parsed) << text;
        EXPECT_EQ(dates::toSeconds(*parsed), seconds) << text;
    }
    EXPECT_FALSE(BXSyncUtils::parseLastmodifiedDate("1994-11-06"));
    EXPECT_EQ(BXSyncUtils::lastmodifiedDateStringFromDate(dates::fromSeconds(seconds)),
              "Sun, 06 Nov 1994 08:49:37 +0000");
    const auto iso = BXSyncUtils::dateFromDateISO("1994-11-06T08:49:37Z");
    ASSERT_TRUE(iso);
    EXPECT_EQ(dates::toSeconds(*iso), seconds);
    EXPECT_FALSE(BXSyncUtils::dateFromDateISO("yesterday"));
}

TEST(BXSyncUtilsTest, HrefsAreEqualButForSlashesAtTheEnd)
{
    EXPECT_TRUE(BXSyncUtils::isEqualHref("/x/", "/x"));
    EXPECT_TRUE(BXSyncUtils::isEqualHref("/x//", "/x"));
    EXPECT_TRUE(BXSyncUtils::isEqualHref("", "/"));
    EXPECT_FALSE(BXSyncUtils::isEqualHref("/X", "/x"));
    EXPECT_FALSE(BXSyncUtils::isEqualHref("/x y", "/x%20y"));
}

TEST(BXSyncUtilsTest, DigestsOfFileRanges)
{
    const std::string empty = "d41d8cd98f00b204e9800998ecf8427e";
    const std::string large(2'500'000, 'x');
    TempTree tree({{"abc", file("xabcy")}, {"large", file(large)}, {"empty", file("")}});
    const auto digest = [&](const char* name, std::uint64_t start, std::uint64_t end) {
        return BXSyncUtils::getMD5FromLocalFile(tree.path(name), start, end).value_or("failed");
    };
    EXPECT_EQ(digest("abc", 1, 4), "900150983cd24fb0d6963f7d28e17f72");
    EXPECT_EQ(digest("abc", 0, 0), digest("abc", 0, 5));
    EXPECT_EQ(digest("abc", 5, 0), empty);
    EXPECT_EQ(digest("abc", 9, 2), empty);
    EXPECT_EQ(digest("empty", 0, 0), empty);
    EXPECT_NE(digest("large", 0, 0), digest("large", 1, 0));
    EXPECT_EQ(digest("large", 0, 1'200'000), digest("large", 1'300'000, 0));
    EXPECT_EQ(digest("abc", 0, 6), "failed");
    EXPECT_EQ(digest("none", 0, 0), "failed");
}

TEST(BXSyncUtilsTest, PropertyBodies)
{
    EXPECT_FALSE(BXSyncUtils::createProppatchXML({}));
    const std::string head = "<?xml version=\"1.0\" ?><D:propertyupdate xmlns:D=\"DAV:\" "
                             "xmlns:Z=\"http://www.marlock.example/ns/webdav\">";
    EXPECT_EQ(BXSyncUtils::createProppatchXML({{"SyncDate", "today"}, {"suspend", std::nullopt}}),
              head + "<D:set><D:prop><Z:SyncDate>today</Z:SyncDate></D:prop></D:set>"
                     "<D:remove><D:prop><Z:suspend/></D:prop></D:remove></D:propertyupdate>");
    EXPECT_EQ(BXSyncUtils::createProppatchXML({{"suspend", std::nullopt}}),
              head + "<D:remove><D:prop><Z:suspend/></D:prop></D:remove></D:propertyupdate>");
    EXPECT_EQ(BXSyncUtils::createProppatchXML({{"suspend", ""}}),
              head + "<D:set><D:prop><Z:suspend></Z:suspend></D:prop></D:set></D:propertyupdate>");
}

TEST(BXSyncUtilsTest, SuspendMarkHoldsUntilTheFileChanges)
{
    TempTree tree({{"f", file("half", 1'000'000.2)}});
    const auto path = tree.path("f");
    EXPECT_FALSE(BXSyncUtils::isSuspendedFile(path));
    ASSERT_TRUE(BXSyncUtils::addSuspendFlag(path));
    EXPECT_EQ(fs::extendedAttribute(path, BXSyncUtils::suspendAttribute), "Mon, 12 Jan 1970 13:46:40 +0000");
    EXPECT_TRUE(BXSyncUtils::isSuspendedFile(path));
    tree.touch("f", 1'000'000.9);
    EXPECT_TRUE(BXSyncUtils::isSuspendedFile(path));
    tree.touch("f", 1'000'001.1);
    EXPECT_FALSE(BXSyncUtils::isSuspendedFile(path));
    EXPECT_FALSE(fs::extendedAttribute(path, BXSyncUtils::suspendAttribute));

    ASSERT_TRUE(BXSyncUtils::addSuspendFlag(path));
    BXSyncUtils::removeSuspendFlag(path);
    EXPECT_FALSE(BXSyncUtils::isSuspendedFile(path));
    EXPECT_FALSE(BXSyncUtils::addSuspendFlag(tree.path("none")));
    EXPECT_FALSE(BXSyncUtils::isSuspendedFile(tree.path("none")));
}

TEST(BXSyncUtilsTest, MessagesLoseThePlaceholdersThatNothingFills)
{
    const auto filled = BXSyncUtils::localizeAndReplacementMessage("FILEDELETE_ERROR_CONFIRM", "TidemarkResource",
                                                                   {{"filename", "a ${x}b"}});
    EXPECT_NE(filled.find("a b"), std::string::npos) << filled;
    EXPECT_EQ(filled.find("${"), std::string::npos) << filled;
    EXPECT_EQ(BXSyncUtils::localizeAndReplacementMessage("no such key", {{"a", "b"}}), "");
}

TEST(BXSyncUtilsTest, UrlTexts)
{
    EXPECT_EQ(BXSyncUtils::stringByDecodingURLFormat("a+b%2Bc"), "a b+c");
    EXPECT_EQ(BXSyncUtils::stringByDecodingURLFormat("%E3%81%82"), "\u3042");
    EXPECT_FALSE(BXSyncUtils::stringByDecodingURLFormat("100%"));
    EXPECT_EQ(BXSyncUtils::stringByEncodingURLFormat("http://h/a b?c=\u3042%#"), "http://h/a%20b?c=%E3%81%82%25%23");
    EXPECT_EQ(BXSyncUtils::stringByEncodingURLFormat("/a:b", true), "/a%3Ab");
}

} // namespace
} // namespace tidemark
