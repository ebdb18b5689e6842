#include "SyncLibrary/BXSyncMultistatusReader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tidemark {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* folderUrl = "https://dav.example/dav/my%20docs";
constexpr const char* modified = "Sun, 06 Nov 1994 08:49:37 GMT";
constexpr double modifiedSeconds = 784'111'777;

std::string multistatus(const std::string& responses)
{
    return "<?xml version=\"1.0\"?><D:multistatus xmlns:D=\"DAV:\" xmlns:E=\"urn:e\">" + responses + "</D:multistatus>";
}

std::string response(const std::string& href, const std::string& properties = "<D:resourcetype/>")
{
    return "<D:response><D:href>" + href + "</D:href><D:propstat><D:prop>" + properties +
           "</D:prop><D:status>HTTP/1.1 200 OK</D:status></D:propstat></D:response>";
}

Result<BXSyncMultistatusReader::Listing> read(const std::string& responses, const std::string& version = "",
                                              bool includeSelf = false)
{
    return BXSyncMultistatusReader(*Url::parse(folderUrl), version).read(multistatus(responses), includeSelf);
}

std::vector<std::string> urls(const Result<BXSyncMultistatusReader::Listing>& listing)
{
    std::vector<std::string> paths;
    if (!listing) return {listing.error().description()};
    for (const auto& item : listing->items)
        paths.push_back(item.path.substr(std::string(folderUrl).size()));
    return paths;
}

/// The one item whose properties are `properties`.
BXSyncWebDAVFileItem item(const std::string& properties, const std::string& version = "")
{
    const auto listing = read(response("/dav/my%20docs/x", properties), version);
    EXPECT_TRUE(listing && listing->items.size() == 1);
    return listing ? listing->items.at(0) : BXSyncWebDAVFileItem{};
}

TEST(BXSyncMultistatusReaderTest, TakesNamesAsChildrenOfTheFolderWhateverElseTheHrefSays)
{
    EXPECT_THAT(urls(read(response("/dav/my%20docs/a.txt") + response("/dav/my%20docs/b%20c/") +
                          response("/elsewhere/../../etc/passwd") + response("\n  d.txt  ") +
                          response("HTTPS://DAV.example:8443/other/e"))),
                ElementsAre("/a.txt", "/b%20c", "/passwd", "/d.txt", "/e"));
}

TEST(BXSyncMultistatusReaderTest, LeavesTheFolderItselfOutUnlessAskedFor)
{
    for (const auto* self : {"/dav/my%20docs", "/dav/my%20docs//", "https://dav.example/dav/my%20docs/"}) {
        EXPECT_THAT(urls(read(response(self) + response("x"))), ElementsAre("/x")) << self;
        EXPECT_THAT(urls(read(response(self) + response("x"), "", true)), ElementsAre("", "/x")) << self;
    }
}

TEST(BXSyncMultistatusReaderTest, PlusIsABlankOnlyWhereTheServerHasTheExtensions)
{
    const auto names = response("a+b.txt") + response("c%2Bd.txt");
    EXPECT_THAT(urls(read(names, "")), ElementsAre("/a%2Bb.txt", "/c%2Bd.txt"));
    EXPECT_THAT(urls(read(names, "3.1")), ElementsAre("/a%20b.txt", "/c%2Bd.txt"));
}

TEST(BXSyncMultistatusReaderTest, SkipsHiddenNamesSilentlyAndImpossibleOnesWithARemark)
{
    const auto listing = read(response("/dav/my%20docs/.hidden") + response("..") + response("%2E%2E") +
                              response("a%2Fb") + response("..%2Fc") + response("n%00l") + response("%FF%FE") +
                              response("100%") + response("") + response("/") + "<D:response/>" + response("good"));
    EXPECT_THAT(urls(listing), ElementsAre("/good"));
    EXPECT_EQ(listing->remarks.size(), 7U);
    EXPECT_THAT(listing->remarks, testing::Each(HasSubstr(folderUrl)));
}

TEST(BXSyncMultistatusReaderTest, EntryOfAnotherHostFailsTheListing)
{
    const auto listing = read(response("a") + response("https://evil.example/dav/my%20docs/b"));
    ASSERT_FALSE(listing);
    EXPECT_THAT(listing.error().description(), HasSubstr("evil.example"));
}

TEST(BXSyncMultistatusReaderTest, OfOneNameTwiceTheComposedOrElseTheFirstCounts)
{
    const auto listing =
        read(response("a", "<D:getcontentlength>1</D:getcontentlength>") + response("cafe%CC%81") +
             response("a", "<D:resourcetype><D:collection/></D:resourcetype>") + response("caf%C3%A9"));
    EXPECT_THAT(urls(listing), ElementsAre("/a", "/caf%C3%A9"));
    EXPECT_FALSE(listing->items[0].isFolder);
    EXPECT_EQ(listing->remarks.size(), 2U);
}

TEST(BXSyncMultistatusReaderTest, ReadsProperties)
{
    const auto folder = item("<D:resourcetype><D:collection/></D:resourcetype><E:suspend>1</E:suspend>");
    EXPECT_TRUE(folder.isFolder);
    EXPECT_TRUE(folder.suspend);
    for (const auto* text : {"true", "01", " 1", ""})
        EXPECT_FALSE(item(std::string("<E:suspend>") + text + "</E:suspend>").suspend) << text;
    const std::map<std::string, std::int64_t> sizes{
        {"12", 12}, {" 9000000000 ", 9'000'000'000}, {"-5", 0}, {"99999999999999999999", 0}, {"many", 0}, {"", 0}};
    for (const auto& [text, size] : sizes)
        EXPECT_EQ(item("<D:getcontentlength>" + text + "</D:getcontentlength>").size, size) << text;
    const auto bare = read("<D:response><D:href>x</D:href></D:response>");
    ASSERT_EQ(urls(bare), std::vector<std::string>{"/x"});
    EXPECT_EQ(bare->items[0].time, 0);
    EXPECT_FALSE(bare->items[0].isFolder);
}

TEST(BXSyncMultistatusReaderTest, WhichTimeCountsDependsOnTheServer)
{
    const std::string last = "<D:getlastmodified>Sat, 01 Jan 2000 00:00:00 GMT</D:getlastmodified>";
    const std::string sync = std::string("<E:SyncDate>") + modified + "</E:SyncDate>";
    constexpr double lastSeconds = 946'684'800;
    EXPECT_EQ(item(last + sync, "").time, modifiedSeconds);
    EXPECT_EQ(item(sync + last, "").time, modifiedSeconds);
    EXPECT_EQ(item(last + sync, "3.1").time, lastSeconds);
    EXPECT_EQ(item(last, "").time, lastSeconds);
    EXPECT_EQ(item(last + "<E:SyncDate>soon</E:SyncDate>", "").time, 0);
    EXPECT_EQ(item(last + "<E:SyncDate/>", "").time, lastSeconds);
    EXPECT_EQ(item("<D:getlastmodified>never</D:getlastmodified>", "3.1").time, 0);
}

TEST(BXSyncMultistatusReaderTest, PropertiesAreThoseTheServerHas)
{
    const auto listing =
        read("<D:response><D:href>x</D:href>"
             "<D:propstat><D:prop><E:SyncDate>x</E:SyncDate><D:getcontentlength/></D:prop>"
             "<D:status>HTTP/1.1 404 Not Found</D:status></D:propstat>"
             "<D:propstat><D:prop><D:getcontentlength>7</D:getcontentlength><D:getlastmodified>" +
             std::string(modified) +
             "</D:getlastmodified></D:prop><D:status>HTTP/1.1 200 OK</D:status></D:propstat></D:response>"
             "<D:response><D:href>gone</D:href><D:status>HTTP/1.1 404 Not Found</D:status></D:response>");
    ASSERT_THAT(urls(listing), ElementsAre("/x"));
    EXPECT_EQ(listing->items[0].size, 7);
    EXPECT_EQ(listing->items[0].time, modifiedSeconds);
}

TEST(BXSyncMultistatusReaderTest, MalformedDocumentsFail)
{
    const BXSyncMultistatusReader reader(*Url::parse(folderUrl), "");
    const auto whole = multistatus(response("a"));
    for (const auto& body : {std::string(), whole.substr(0, whole.size() - 5), std::string("not xml"),
                             "<!DOCTYPE x [<!ENTITY a \"b\">]>" + multistatus("")}) {
        const auto listing = reader.read(body, false);
        ASSERT_FALSE(listing) << body;
        EXPECT_EQ(listing.error().description(), std::string("XML parse error. path:") + folderUrl);
    }
    EXPECT_THAT(reader.read(multistatus(""), false)->items, IsEmpty());
}

} // namespace
} // namespace tidemark
