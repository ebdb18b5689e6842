#include "devserver/ServedFolder.h"

namespace devserver::test {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

constexpr const char* nameSpace = "http://www.marlock.example/ns/webdav";

std::string update(const std::string& content)
{
    return "<?xml version=\"1.0\" ?><D:propertyupdate xmlns:D=\"DAV:\" xmlns:Z=\"" + std::string(nameSpace) + "\">" +
           content + "</D:propertyupdate>";
}

std::string setting(const std::string& properties)
{
    return update("<D:set><D:prop>" + properties + "</D:prop></D:set>");
}

std::string asking(const std::string& properties)
{
    return "<D:propfind xmlns:D=\"DAV:\" xmlns:E=\"" + std::string(nameSpace) + "\"><D:prop>" + properties +
           "</D:prop></D:propfind>";
}

class PropertiesTest : public ServedFolder
{
};

TEST_F(PropertiesTest, ADepthOneListingHoldsFolderAndMembers)
{
    std::filesystem::create_directories(folder / "d/sub/deep");
    writeFile(folder / "d/a+b &<%.txt", "12345");
    const Reply reply = send("PROPFIND", "/d/", {"Depth: 1"}, asking("<D:getcontentlength/><D:resourcetype/>"));
    EXPECT_EQ(reply.status, 207);
    EXPECT_THAT(reply.body, HasSubstr("<D:href>/d/</D:href>"));
    EXPECT_THAT(reply.body, HasSubstr("<D:href>/d/sub/</D:href>"));
    EXPECT_THAT(reply.body, HasSubstr("<D:href>/d/a%2Bb%20%26%3C%25.txt</D:href>"));
    EXPECT_THAT(reply.body, HasSubstr("<D:getcontentlength>5</D:getcontentlength><D:resourcetype/>"));
    EXPECT_THAT(reply.body, Not(HasSubstr("deep")));
    EXPECT_THAT(send("PROPFIND", "/d/", {"Depth: 0"}).body, Not(HasSubstr("sub")));
    EXPECT_EQ(send("PROPFIND", "/d/").status, 403) << "no infinite depth";
    EXPECT_EQ(send("PROPFIND", "/none", {"Depth: 0"}).status, 404);
}

TEST_F(PropertiesTest, PlusMayStayRawInHrefs)
{
    options.rawPlusInHref = true;
    writeFile(folder / "a+b", "");
    EXPECT_THAT(send("PROPFIND", "/", {"Depth: 1"}).body, HasSubstr("<D:href>/a+b</D:href>"));
}

TEST_F(PropertiesTest, DeadPropertiesAreFoundOrReportedMissing)
{
    writeFile(folder / "a", "");
    EXPECT_EQ(send("PROPPATCH", "/a", {}, setting("<Z:SyncDate>x &amp; <b xmlns=\"u\">y</b></Z:SyncDate>")).status,
              207);
    const Reply named = send("PROPFIND", "/a", {"Depth: 0"}, asking("<E:SyncDate/><E:suspend/>"));
    EXPECT_THAT(named.body, HasSubstr(">x &amp; <b xmlns=\"u\">y</b></P:SyncDate>"));
    EXPECT_LT(named.body.find("200 OK"), named.body.find("suspend"));
    EXPECT_LT(named.body.find("suspend"), named.body.find("404 Not Found"));
    EXPECT_THAT(send("PROPFIND", "/a", {"Depth: 0"}, "").body, HasSubstr("SyncDate"));
    const std::string names = "<D:propfind xmlns:D=\"DAV:\"><D:propname/></D:propfind>";
    EXPECT_THAT(send("PROPFIND", "/a", {"Depth: 0"}, names).body, HasSubstr("<D:getetag/>"));

    EXPECT_EQ(send("PROPPATCH", "/a", {}, update("<D:remove><D:prop><Z:SyncDate/></D:prop></D:remove>")).status, 207);
    EXPECT_EQ(server().property("a", nameSpace, "SyncDate"), std::nullopt);
}

TEST_F(PropertiesTest, AnUpdateIsAllOrNothing)
{
    writeFile(folder / "a", "");
    const Reply reply = send("PROPPATCH", "/a", {}, setting("<Z:x>1</Z:x><D:getetag>2</D:getetag>"));
    EXPECT_THAT(reply.body, HasSubstr("403 Forbidden"));
    EXPECT_THAT(reply.body, HasSubstr("424 Failed Dependency"));
    EXPECT_EQ(server().property("a", nameSpace, "x"), std::nullopt);
}

TEST_F(PropertiesTest, DeadPropertiesGoWhereTheResourceGoes)
{
    send("MKCOL", "/d/");
    send("PUT", "/d/a", {}, "1");
    const std::string large(20000, 'v');
    send("PROPPATCH", "/d/a", {}, setting("<Z:SyncDate>" + large + "</Z:SyncDate>"));
    send("PROPPATCH", "/d/", {}, setting("<Z:SyncDate>folder</Z:SyncDate>"));
    send("PUT", "/d/a", {}, "2");
    EXPECT_EQ(server().property("d/a", nameSpace, "SyncDate"), large) << "kept by a PUT";
    send("COPY", "/d/", {"Destination: /e"});
    send("MOVE", "/d/", {"Destination: /f"});
    EXPECT_EQ(server().property("e/a", nameSpace, "SyncDate"), large);
    EXPECT_EQ(server().property("f/a", nameSpace, "SyncDate"), large);
    EXPECT_EQ(server().property("f", nameSpace, "SyncDate"), "folder");
    send("DELETE", "/f/a");
    send("PUT", "/f/a", {}, "3");
    EXPECT_EQ(server().property("f/a", nameSpace, "SyncDate"), std::nullopt) << "a new file has none";
}

TEST_F(PropertiesTest, DeadPropertiesOutliveTheServer)
{
    send("PUT", "/a", {}, "1");
    send("PROPPATCH", "/a", {}, setting("<Z:SyncDate>kept</Z:SyncDate>"));
    server().stop();
    Server again(options);
    EXPECT_EQ(again.property("a", nameSpace, "SyncDate"), "kept");
}

TEST_F(PropertiesTest, BrokenDocumentsAreRefused)
{
    writeFile(folder / "a", "");
    std::string deep;
    for (int i = 0; i < 200; ++i)
        deep += "<x>";
    for (const std::string& body :
         {std::string("<D:propfind xmlns:D=\"DAV:\">"), std::string("no xml"), deep,
          std::string("<!DOCTYPE x [<!ENTITY e \"e\">]><x>&e;</x>"), std::string("<propfind><allprop/></propfind>")}) {
        EXPECT_EQ(send("PROPFIND", "/a", {"Depth: 0"}, body).status, 400) << body.substr(0, 60);
        EXPECT_EQ(send("PROPPATCH", "/a", {}, body).status, 400) << body.substr(0, 60);
    }
}

} // namespace
} // namespace devserver::test
