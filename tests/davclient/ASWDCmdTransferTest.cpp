#include "WireFixture.h"
#include "davclient/ASWDCmdGet.h"
#include "davclient/ASWDCmdPropBase.h"
#include "davclient/ASWDCmdSimple.h"
#include "davclient/ASWDCmdUpload.h"
#include "platform/FileSystem.h"

namespace tidemark {
namespace {

using testing::httpAnswer;
using testing::RawServer;

class ASWDCmdTransfer : public testing::WireFixture
{
protected:
    std::shared_ptr<ASWDCmdGet> makeGet(std::int64_t sentBytes = 0)
    {
        auto command = make<ASWDCmdGet>("/f");
        command->setLocalFile(path("f"));
        command->setSentBytes(sentBytes);
        return command;
    }
};

TEST_F(ASWDCmdTransfer, DownloadTakesTheServersDates)
{
    writeFile("f", "something longer than before");
    serve(httpAnswer(200, "content",
                     "Last-Modified: Sun, 06 Nov 1994 08:49:37 GMT\r\n"
                     "X-BX-CreationDate: 1990-01-02T03:04:05Z\r\n"));
    auto command = makeGet();
    run(*command);
    EXPECT_FALSE(command->error());
    EXPECT_EQ(readFile("f"), "content");
    EXPECT_EQ(fs::attributes(path("f"))->modified, 784111777);
    EXPECT_EQ(fs::extendedAttribute(path("f"), "marlock.tidemark.creationdate"), "1990-01-02T03:04:05Z");
    EXPECT_EQ(command->connection()->processedResponseBodyBytes(), 7U);
}

TEST_F(ASWDCmdTransfer, OnlyASuccessTouchesTheFile)
{
    writeFile("f", "kept");
    for (const int status : {301, 403, 404, 416, 503}) {
        serve(httpAnswer(status, "an error page"));
        auto command = makeGet();
        run(*command);
        EXPECT_FALSE(command->error());
        EXPECT_EQ(command->statusCode(), status);
        EXPECT_EQ(readFile("f"), "kept");
    }
    serve(httpAnswer(200));
    run(*makeGet());
    EXPECT_EQ(readFile("f"), "");
}

TEST_F(ASWDCmdTransfer, ResumeAppendsAMatchingPart)
{
    writeFile("f", "01234");
    serve(httpAnswer(206, "56789", "Content-Range: bytes 5-9/10\r\n"));
    auto command = makeGet(5);
    run(*command);
    EXPECT_EQ(server_->requests().at(0).field("Range"), "bytes 5-");
    EXPECT_EQ(readFile("f"), "0123456789");
    EXPECT_EQ(command->sentBytes(), 5);
}

TEST_F(ASWDCmdTransfer, ResumeAnsweredWithTheWholeFileStartsOver)
{
    writeFile("f", "01234");
    serve(httpAnswer(200, "0123456789"));
    auto command = makeGet(5);
    run(*command);
    EXPECT_EQ(readFile("f"), "0123456789");
    EXPECT_EQ(command->sentBytes(), 0);
}

TEST_F(ASWDCmdTransfer, AnotherPartThanAskedForIsAnError)
{
    for (const auto* field : {"Content-Range: bytes 4-9/10\r\n", "Content-Range: bytes */10\r\n", "",
                              "Content-Range: bytes 5-9/20\r\n", "Content-Range: bytes 5-9\r\n"}) {
        writeFile("f", "01234");
        serve(httpAnswer(206, "456789", field));
        auto command = makeGet(5);
        run(*command);
        ASSERT_TRUE(command->error());
        EXPECT_EQ(command->error()->code, ASWDCmd::requestFailed);
        EXPECT_EQ(readFile("f"), "01234");
    }
}

TEST_F(ASWDCmdTransfer, UnsatisfiableRangeRestartsFromTheFirstByte)
{
    writeFile("f", "0123456789 and more");
    serve([this](const RawServer::Request& request) {
        EXPECT_EQ(handled_, 0);
        return RawServer::Answer{request.field("Range").empty() ? httpAnswer(200, "01234") : httpAnswer(416, "page")};
    });
    auto command = makeGet(19);
    run(*command);
    EXPECT_EQ(handled_, 1);
    EXPECT_EQ(command->sentBytes(), 0);
    EXPECT_EQ(readFile("f"), "01234");
    EXPECT_EQ(server_->requests().size(), 2U);
    EXPECT_EQ(server_->connections(), 1);
}

TEST_F(ASWDCmdTransfer, EncryptedDownloadStartsOverAndDecrypts)
{
    const std::string plain(40000, 'p');
    writeFile("plain", plain);
    serve(httpAnswer(200, encrypted("plain", "key")));
    writeFile("f", "old part");
    auto command = makeGet(5);
    command->setEncryptKey("key");
    run(*command);
    EXPECT_EQ(server_->requests().at(0).field("Range"), "");
    EXPECT_EQ(readFile("f"), plain);
}

TEST_F(ASWDCmdTransfer, ADownloadThatEndsEarlyIsAnError)
{
    serve("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\n01234", true);
    auto command = makeGet();
    run(*command);
    ASSERT_TRUE(command->error());
    EXPECT_EQ(command->connection()->error()->code, ASHttpConnection::streamFailed);
    EXPECT_EQ(readFile("f"), "01234");
}

TEST_F(ASWDCmdTransfer, AFileThatCannotBeWrittenIsNamed)
{
    serve(httpAnswer(200, "content"));
    auto unopenable = makeGet();
    unopenable->setLocalFile(path("no/such/folder"));
    run(*unopenable);
    ASSERT_TRUE(unopenable->error());
    EXPECT_NE(unopenable->error()->description().find(path("no/such/folder")), std::string::npos);

    serve(httpAnswer(200, std::string(1 << 20, 'x')));
    auto full = makeGet();
    full->setLocalFile("/dev/full");
    run(*full);
    ASSERT_TRUE(full->error());
    EXPECT_NE(full->error()->description().find("/dev/full"), std::string::npos);
    EXPECT_EQ(handled_, 1);
}

TEST_F(ASWDCmdTransfer, AnUploadShorterThanAnnouncedFails)
{
    serve(httpAnswer(201));
    writeFile("short", "0123456789");
    auto command = make<ASWDCmdPut>("/f");
    command->setFilePath(path("short"));
    command->setFileLength(1'000'000);
    run(*command);
    ASSERT_TRUE(command->error());
    EXPECT_TRUE(server_->requests().empty());
}

TEST_F(ASWDCmdTransfer, AFileThatHasGrownSinceItWasAnnouncedIsAnError)
{
    serve(httpAnswer(201));
    writeFile("grown", std::string(100'000, 'g'));
    auto command = make<ASWDCmdPut>("/f");
    command->setFilePath(path("grown"));
    command->setFileLength(70'000);
    run(*command);
    ASSERT_TRUE(command->error());
    EXPECT_TRUE(server_->requests().empty()) << "its beginning is no file";
}

TEST_F(ASWDCmdTransfer, ResponseBodiesInMemoryAreLimited)
{
    serve(httpAnswer(207, std::string(100'000, 'x')));
    auto fits = make<ASWDCmdPropFind>();
    fits->setMaximumResponseBody(100'000);
    run(*fits);
    EXPECT_FALSE(fits->error());
    EXPECT_EQ(fits->responseBody().size(), 100'000U);

    auto exceeds = make<ASWDCmdPropFind>();
    exceeds->setMaximumResponseBody(99'999);
    run(*exceeds);
    ASSERT_TRUE(exceeds->error());
    EXPECT_NE(exceeds->error()->description().find("99999"), std::string::npos);
    EXPECT_LE(exceeds->responseBody().size(), 99'999U);
}

TEST_F(ASWDCmdTransfer, AThousandRequestsShareOneConnection)
{
    serve(httpAnswer(207, "<x/>", "DAV: 1\r\n"));
    for (int i = 0; i < 1000; ++i) {
        auto command = make<ASWDCmdPropFind>("/" + std::to_string(i));
        run(*command);
        ASSERT_EQ(command->responseBody(), "<x/>");
    }
    EXPECT_EQ(server_->connections(), 1);
}

TEST_F(ASWDCmdTransfer, ACommandCanBeExecutedAgain)
{
    serve(httpAnswer(200, "body"));
    auto command = make<ASWDCmdPropFind>();
    run(*command);
    const auto first = command->connection();
    run(*command);
    EXPECT_NE(command->connection(), first);
    EXPECT_EQ(command->responseBody(), "body");
    EXPECT_EQ(server_->requests().size(), 2U);
}

TEST_F(ASWDCmdTransfer, ParserHooksKeepTheTreeOrSetTheError)
{
    serve(httpAnswer(207));
    auto command = make<ASWDCmdPropFind>();
    ASXMLDomParser parser;
    parser.setDelegate(command.get());
    start(*command);
    parser.parse("<a><b/></a>");
    EXPECT_EQ(command->responseRootNode()->elementName(), "a");
    EXPECT_EQ(handled_, 1);
    start(*command);
    parser.parse("<a>");
    EXPECT_EQ(command->error()->code, ASWDCmd::xmlParseError);
    EXPECT_EQ(handled_, 1);
}

} // namespace
} // namespace tidemark
