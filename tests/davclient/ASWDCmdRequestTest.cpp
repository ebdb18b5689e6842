#include <functional>

#include "WireFixture.h"
#include "davclient/ASWDCmdGet.h"
#include "davclient/ASWDCmdPropBase.h"
#include "davclient/ASWDCmdSimple.h"
#include "davclient/ASWDCmdUpload.h"

namespace tidemark {
namespace {

/// Request bytes of every command, whole.
class ASWDCmdRequest : public testing::WireFixture
{
protected:
    void SetUp() override
    {
        WireFixture::SetUp();
        serve(testing::httpAnswer(200));
    }

    /// What goes out for `command`; `fields` and `body` are all that differs from a bare request.
    void expectRequest(ASWDCmd& command, const std::string& method, const std::string& fields,
                       const std::string& body = {})
    {
        run(command);
        ASSERT_EQ(server_->requests().size(), 1U);
        const auto request = server_->requests().front();
        EXPECT_EQ(request.head, method + " /a%2Bb/c HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(server_->port()) +
                                    "\r\n" + fields + "\r\n");
        EXPECT_EQ(request.body, body);
        EXPECT_EQ(handled_, 1);
        EXPECT_FALSE(command.error());
        EXPECT_EQ(command.statusCode(), 200);
    }

    static std::string withLength(const std::string& fields, const std::string& body)
    {
        return fields + "Content-Length: " + std::to_string(body.size()) + "\r\n";
    }

    template <class Command>
    std::shared_ptr<Command> make() const
    {
        return WireFixture::make<Command>("/a%2bb/c");
    }

    static constexpr const char* agent = "User-Agent: Marlock-Tidemark-for-Mac/" TIDEMARK_VERSION "\r\n";
};

TEST_F(ASWDCmdRequest, Options)
{
    expectRequest(*make<ASWDCmdOptions>(), "OPTIONS", agent);
}
TEST_F(ASWDCmdRequest, MkCol)
{
    expectRequest(*make<ASWDCmdMkCol>(), "MKCOL", agent);
}
TEST_F(ASWDCmdRequest, Delete)
{
    expectRequest(*make<ASWDCmdDelete>(), "DELETE", agent);
}
TEST_F(ASWDCmdRequest, Head)
{
    expectRequest(*make<ASWDCmdHead>(), "HEAD", agent);
}
TEST_F(ASWDCmdRequest, GetStream)
{
    expectRequest(*make<ASWDCmdGetStream>(), "GET", agent);
}

TEST_F(ASWDCmdRequest, Get)
{
    auto command = make<ASWDCmdGet>();
    command->setLocalFile(path("f"));
    expectRequest(*command, "GET", agent);
}
TEST_F(ASWDCmdRequest, GetOfTheRest)
{
    writeFile("f", "01234");
    auto command = make<ASWDCmdGet>();
    command->setLocalFile(path("f"));
    command->setSentBytes(5);
    expectRequest(*command, "GET", "Range: bytes 5-\r\n" + std::string(agent));
}

TEST_F(ASWDCmdRequest, ExtraHeadersAndCookiesGoAlong)
{
    HttpHeader response;
    response.add("Set-Cookie", "b=2; Path=/; HttpOnly");
    response.add("set-cookie", "a=1");
    info_->setCookie(response, url());
    auto command = make<ASWDCmdHead>();
    command->requestHeader().set("X-BX-Partial-MD5", "bytes=0-9");
    expectRequest(*command, "HEAD", "X-BX-Partial-MD5: bytes=0-9\r\n" + std::string(agent) + "Cookie: a=1; b=2\r\n");
}

TEST_F(ASWDCmdRequest, PropFindAsksForAllAtDepthOneUntilTold)
{
    const std::string body = "<?xml version=\"1.0\" encoding=\"utf-8\" ?><D:propfind xmlns:D=\"DAV:\"><D:allprop/>"
                             "<D:include><D:supported-live-property-set/><D:supported-report-set/></D:include>"
                             "</D:propfind>";
    expectRequest(*make<ASWDCmdPropFind>(), "PROPFIND", withLength(std::string(agent) + "Depth: 1\r\n", body), body);
}

TEST_F(ASWDCmdRequest, PropFindWithoutDepth)
{
    auto command = make<ASWDCmdPropFind>();
    command->setDepth(std::nullopt);
    command->setRequestBody("<x/>");
    expectRequest(*command, "PROPFIND", withLength(agent, "<x/>"), "<x/>");
}

TEST_F(ASWDCmdRequest, PropPatch)
{
    auto command = make<ASWDCmdPropPatch>();
    command->setRequestBody("<p/>");
    expectRequest(*command, "PROPPATCH", withLength(agent, "<p/>"), "<p/>");
}

TEST_F(ASWDCmdRequest, LockBodyIsMadeBeforeAnOwnerIsKnown)
{
    auto command = make<ASWDCmdLock>();
    command->setOwnerHREF("somebody");
    const std::string body =
        "<?xml version=\"1.0\" encoding=\"utf-8\" ?><lockinfo xmlns:D=\"DAV:\"><d:lockscope><d:exclusive/>"
        "</d:lockscope><d:locktype><d:write/></d:locktype><d:owner><d:href></d:href></d:owner></loclinfo>";
    expectRequest(*command, "LOCK", withLength(agent, body), body);
}

TEST_F(ASWDCmdRequest, Unlock)
{
    auto command = make<ASWDCmdUnlock>();
    command->setLockToken("<urn:x>");
    expectRequest(*command, "UNLOCK", std::string(agent) + "Lock-Token: <urn:x>\r\nContent-Length: 0\r\n");
}

TEST_F(ASWDCmdRequest, CopyAndMoveNameTheTargetByItsPath)
{
    auto command = make<ASWDCmdMove>();
    command->setDestinationURL(Url::parse("http://elsewhere/x:y/ä b").value());
    expectRequest(*command, "MOVE", std::string(agent) + "Destination: /x%3Ay/%C3%A4%20b\r\n");
}

TEST_F(ASWDCmdRequest, Copy)
{
    auto command = make<ASWDCmdCopy>();
    command->setDestinationURL(url("/f/"));
    expectRequest(*command, "COPY", std::string(agent) + "Destination: /f/\r\n");
}

struct UploadCase
{
    const char* name;
    std::int64_t fileLength;
    std::int64_t sentBytes;
    const char* key;
    bool sendsContentRange;
    const char* fields;
    std::size_t bodyLength;
};

class ASWDCmdUploadRequest : public ASWDCmdRequest, public ::testing::WithParamInterface<UploadCase>
{
};

TEST_P(ASWDCmdUploadRequest, AnnouncesItsRange)
{
    const UploadCase& c = GetParam();
    const std::string content = std::string("0123456789").substr(0, static_cast<std::size_t>(c.fileLength % 10)) +
                                std::string(static_cast<std::size_t>(c.fileLength - c.fileLength % 10), 'x');
    writeFile("f", content);
    auto command = make<ASWDCmdPut>();
    command->setFilePath(path("f"));
    command->setFileLength(c.fileLength);
    command->setSentBytes(c.sentBytes);
    command->setEncryptKey(c.key);
    command->setSendsContentRange(c.sendsContentRange);
    run(*command);
    const auto request = server_->requests().at(0);
    const std::string length = "Content-Length: " + std::to_string(c.bodyLength) + "\r\n";
    EXPECT_EQ(request.head, "PUT /a%2Bb/c HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(server_->port()) + "\r\n" +
                                agent + c.fields + length + "\r\n");
    EXPECT_EQ(request.body.size(), c.bodyLength);
    const auto offset = static_cast<std::size_t>(std::max<std::int64_t>(c.sentBytes, 0));
    EXPECT_EQ(request.body, (*c.key ? encrypted("f", c.key) : content).substr(offset));
    EXPECT_EQ(command->connection()->processedRequestBodyBytes(), c.bodyLength);
}

INSTANTIATE_TEST_SUITE_P(
    Ranges, ASWDCmdUploadRequest,
    ::testing::Values(
        UploadCase{"whole", 13, -1, "", true, "Content-Range: bytes 0-12/13\r\n", 13},
        UploadCase{"wholeToPlainServer", 13, -1, "", false, "", 13}, UploadCase{"empty", 0, -1, "", true, "", 0},
        UploadCase{"resumeAtStart", 13, 0, "", true, "X-BX-ENABLE-RESUME:\r\nContent-Range: bytes 0-12/13\r\n", 13},
        UploadCase{"resume", 20000, 9001, "", true, "X-BX-ENABLE-RESUME:\r\nContent-Range: bytes 9001-19999/20000\r\n",
                   10999},
        UploadCase{"resumeAtEnd", 13, 13, "", true, "X-BX-ENABLE-RESUME:\r\nContent-Range: bytes 13-12/13\r\n", 0},
        UploadCase{"encrypted", 32, -1, "key", true, "Content-Range: bytes 0-47/48\r\n", 48},
        UploadCase{"resumeEncrypted", 20000, 9001, "key", true,
                   "X-BX-ENABLE-RESUME:\r\nContent-Range: bytes 9001-20015/20016\r\n", 11015},
        UploadCase{"encryptedEmpty", 0, -1, "key", true, "Content-Range: bytes 0-15/16\r\n", 16}),
    [](const auto& one) { return std::string(one.param.name); });

TEST_F(ASWDCmdRequest, PutSendsItsDates)
{
    auto command = make<ASWDCmdPut>();
    command->setRequestBody("abc");
    command->setModifiedDate(dates::fromSeconds(784111777));
    command->setCreationDate(dates::fromSeconds(0));
    expectRequest(*command, "PUT",
                  "X-BX-LastModified: Sun, 06 Nov 1994 08:49:37 +0000\r\n"
                  "X-BX-CreationDate: Thu, 01 Jan 1970 00:00:00 +0000\r\n" +
                      withLength(std::string(agent) + "Content-Range: bytes 0-2/3\r\n", "abc"),
                  "abc");
}

TEST_F(ASWDCmdRequest, Post)
{
    auto command = make<ASWDCmdPost>();
    command->setRequestBody("abc");
    expectRequest(*command, "POST", withLength(std::string(agent) + "Content-Range: bytes 0-2/3\r\n", "abc"), "abc");
}

TEST_F(ASWDCmdRequest, UploadsThatCannotBeginFailAtOnce)
{
    auto nothing = make<ASWDCmdPut>();
    EXPECT_FALSE(start(*nothing));
    EXPECT_FALSE(nothing->error());

    auto missing = make<ASWDCmdPut>();
    missing->setFilePath(path("missing"));
    missing->setFileLength(3);
    EXPECT_FALSE(start(*missing));
    ASSERT_TRUE(missing->error());
    EXPECT_EQ(missing->error()->code, ASWDCmd::requestStreamNotCreated);

    writeFile("short", "abc");
    auto beyond = make<ASWDCmdPut>();
    beyond->setFilePath(path("short"));
    beyond->setFileLength(10);
    beyond->setSentBytes(5);
    EXPECT_FALSE(start(*beyond));

    auto injected = make<ASWDCmdHead>();
    injected->requestHeader().set("X", "a\r\nY: b");
    EXPECT_FALSE(start(*injected));
    EXPECT_EQ(handled_, 0);
    EXPECT_TRUE(server_->requests().empty());
}

} // namespace
} // namespace tidemark
