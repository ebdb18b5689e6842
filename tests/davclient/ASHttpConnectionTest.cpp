#include "davclient/ASHttpConnection.h"

#include <atomic>
#include <semaphore>
#include <thread>

#include "WireFixture.h"
#include "config/BXSyncGlobalConf.h"
#include "davclient/ASWDCmdGet.h"
#include "davclient/ASWDCmdPropBase.h"
#include "davclient/ASWDCmdSimple.h"
#include "davclient/ASWDCmdUpload.h"
#include "support/LogCapture.h"

namespace tidemark {
namespace {

using namespace std::chrono_literals;
using testing::httpAnswer;
using testing::RawServer;

class ASHttpConnectionTest : public testing::WireFixture
{
protected:
    void expectConnectionError(ASWDCmd& command, std::int64_t code)
    {
        ASSERT_TRUE(command.error());
        EXPECT_EQ(command.error()->code, ASWDCmd::requestFailed);
        ASSERT_TRUE(command.connection()->error());
        EXPECT_EQ(command.connection()->error()->code, code);
        EXPECT_EQ(command.error()->userInfo, command.connection()->error()->userInfo);
        EXPECT_EQ(handled_, 1);
    }
};

TEST_F(ASHttpConnectionTest, KeepsItsFirstRequest)
{
    const auto connection = std::make_shared<ASHttpConnection>();
    const Url url = Url::parse("http://localhost/").value();
    EXPECT_TRUE(connection->makeRequestWithURL(url, "GET"));
    connection->setHeaderField("X", "1");
    EXPECT_FALSE(connection->makeRequestWithURL(url, "PUT"));
    EXPECT_EQ(connection->headerField("x"), "1");
    EXPECT_FALSE(connection->error());

    connection->releaseRequest();
    EXPECT_FALSE(connection->makeRequestWithURL(Url(), "GET"));
    EXPECT_EQ(connection->error()->code, ASHttpConnection::requestNotCreated);
    EXPECT_FALSE(connection->setAuthenticationUsername("u", "p", HttpAuthenticationScheme::basic, false));
    EXPECT_EQ(connection->error()->code, ASHttpConnection::credentialsNotApplied);
}

TEST_F(ASHttpConnectionTest, ABodyThatCannotBeOpenedIsLoggedByTheSystemsNumber)
{
    serve(httpAnswer(201));
    const test::LogCapture log;
    const unsigned levels = LogFacade::levels();
    LogFacade::setLevels(levels | static_cast<unsigned>(LogLevel::debug));
    const auto connection = std::make_shared<ASHttpConnection>();
    connection->makeRequestWithURL(url(), "PUT");
    EXPECT_FALSE(connection->openStreamWithRequestBodyStream(makeFileInputStream(path("missing")), 3));
    LogFacade::setLevels(levels);
    EXPECT_EQ(connection->error()->code, ASHttpConnection::streamNotOpened);
    EXPECT_EQ(log.count(LogLevel::debug, "open stream error " + std::to_string(ENOENT) + " (posix)"), 1);
}

TEST_F(ASHttpConnectionTest, FaultsOfFramingAreErrors)
{
    const std::string ok = "HTTP/1.1 200 OK\r\n";
    const std::string faults[] = {
        "",
        "gibberish\r\n\r\n",
        ok + "\r\n",
        ok + "Content-Length: 5\r\n\r\nabc",
        ok + "Content-Length: 5\r\nContent-Length: 3\r\n\r\nabcde",
        ok + "Content-Length: 3\r\nContent-Length: 3\r\n\r\nabc",
        ok + "Content-Length: abc\r\n\r\nabc",
        ok + "Content-Length: -3\r\n\r\nabc",
        ok + "Content-Length: 99999999999999999999\r\n\r\nabc",
        ok + "Transfer-Encoding: chunked\r\n\r\nzz\r\nabc\r\n0\r\n\r\n",
        ok + "Transfer-Encoding: chunked\r\n\r\n3\r\nabcdef\r\n0\r\n\r\n",
        ok + "Transfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n",
        ok + "Transfer-Encoding: nonsense\r\nContent-Length: 3\r\n\r\nabc",
        ok + "X: " + std::string(1 << 20, 'x') + "\r\nContent-Length: 0\r\n\r\n",
    };
    for (const auto& bytes : faults) {
        serve(bytes, true);
        auto command = make<ASWDCmdPropFind>();
        run(*command);
        SCOPED_TRACE(bytes.substr(0, 100));
        expectConnectionError(*command, ASHttpConnection::streamFailed);
    }
}

TEST_F(ASHttpConnectionTest, HeadersAreLimited)
{
    std::string fields;
    for (int i = 0; i < 10'000; ++i)
        fields += "X-" + std::to_string(i) + ": 1\r\n";
    std::string lines;
    for (int i = 0; i < 1024; ++i)
        lines += "X: " + std::string(1018, 'x') + "\r\n";
    for (const auto& header : {fields, lines}) {
        serve("HTTP/1.1 200 OK\r\n" + header + "Content-Length: 0\r\n\r\n");
        auto command = make<ASWDCmdOptions>();
        run(*command);
        expectConnectionError(*command, ASHttpConnection::streamFailed);
        EXPECT_EQ(command->connection()->getRequestStreamError()->kind, HttpStreamFailure::headerTooLarge);
    }
}

struct EndlessCase
{
    const char* name;
    const char* begin;
    std::string piece;
    bool tunnels = false;
};

class ASHttpConnectionEndless : public ASHttpConnectionTest, public ::testing::WithParamInterface<EndlessCase>
{
};

TEST_P(ASHttpConnectionEndless, IsAnErrorAfterABoundedPart)
{
    constexpr std::size_t given = std::size_t(1) << 30;
    const EndlessCase& c = GetParam();
    std::atomic<std::size_t> sent = 0;
    serve([&](const RawServer::Request&) {
        return RawServer::Answer{c.begin, true, [&] { return (sent += c.piece.size()) < given ? c.piece : ""; }};
    });
    info_->setIsUseProxy(c.tunnels);
    info_->setIsUseProxyHTTPS(c.tunnels);
    info_->setProxyHost("127.0.0.1");
    info_->setProxyPort(server_->port());
    auto command = make<ASWDCmdPropFind>();
    run(*command);
    expectConnectionError(*command, ASHttpConnection::streamFailed);
    EXPECT_LT(command->responseBody().size(), 10U);
    server_.reset();
    // What the two ends' sockets hold is more than what is read.
    EXPECT_LT(sent, given / 16);
}

INSTANTIATE_TEST_SUITE_P(
    Heads, ASHttpConnectionEndless,
    ::testing::Values(EndlessCase{"line", "HTTP/1.1 200 OK\r\nX: ", std::string(4096, 'x')},
                      EndlessCase{"statusLine", "HTTP/1.1 200 ", std::string(4096, 'x')},
                      EndlessCase{"fields", "HTTP/1.1 200 OK\r\n", "X: 1\r\n"},
                      EndlessCase{"longFields", "HTTP/1.1 200 OK\r\n", "X: " + std::string(4096, 'x') + "\r\n"},
                      EndlessCase{"folds", "HTTP/1.1 200 OK\r\nX: 1\r\n", " " + std::string(4096, 'x') + "\r\n"},
                      EndlessCase{"interimAnswers", "", "HTTP/1.1 102 Processing\r\n\r\n"},
                      EndlessCase{"trailers", "HTTP/1.1 207 M\r\nTransfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n0\r\n",
                                  "X: " + std::string(1000, 'x') + "\r\n"},
                      EndlessCase{"tunnelFields", "HTTP/1.1 200 OK\r\n", "X: 1\r\n", true},
                      EndlessCase{"tunnelLine", "HTTP/1.1 200 OK\r\nX: ", std::string(4096, 'x'), true}),
    [](const auto& one) { return std::string(one.param.name); });

TEST_F(ASHttpConnectionTest, ChunkedAndCloseDelimitedBodiesAreRead)
{
    serve("HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 207 M\r\nTransfer-Encoding: chunked\r\n\r\n"
          "3\r\nabc\r\n2;x=y\r\nde\r\n0\r\nTrailer: 1\r\n\r\n");
    auto chunked = make<ASWDCmdPropFind>();
    run(*chunked);
    EXPECT_EQ(chunked->responseBody(), "abcde");
    EXPECT_FALSE(chunked->responseHeader()->header.contains("Trailer"));

    serve("HTTP/1.1 207 M\r\nConnection: close\r\n\r\nabc", true);
    auto closed = make<ASWDCmdPropFind>();
    run(*closed);
    EXPECT_EQ(closed->responseBody(), "abc");
    EXPECT_FALSE(closed->connection()->processedRequestBodyBytes());
}

TEST_F(ASHttpConnectionTest, AConnectionThatTheServerHasDroppedIsReplaced)
{
    serve([](const RawServer::Request&) { return RawServer::Answer{httpAnswer(204, "", "X: 1\r\n"), true}; });
    for (int i = 0; i < 5; ++i) {
        auto command = make<ASWDCmdDelete>();
        run(*command);
        EXPECT_EQ(command->statusCode(), 204);
    }
    EXPECT_EQ(server_->requests().size(), 5U);
}

TEST_F(ASHttpConnectionTest, FollowsRedirectionsInsideTheOriginOnly)
{
    serve([this](const RawServer::Request& request) -> RawServer::Answer {
        const auto to = [&](int status, const std::string& where) {
            return RawServer::Answer{httpAnswer(status, "moved", "Location: " + where + "\r\n")};
        };
        const std::string line = request.requestLine();
        if (line.find("/start") != std::string::npos) return to(307, "/next");
        if (line.find("/next") != std::string::npos) return to(301, url("/end").absoluteString());
        if (line.find("/away") != std::string::npos) return to(302, "http://localhost:" + std::to_string(url().port()));
        if (line.find("/loop") != std::string::npos) return to(308, "/loop");
        if (line.find("/see") != std::string::npos) return to(303, "/end");
        return {httpAnswer(207, line.substr(0, line.find(' ')) + " " + request.body)};
    });
    const auto result = [&](auto command) {
        run(*command);
        EXPECT_FALSE(command->error());
        return std::to_string(command->statusCode()) + " " + command->responseBody();
    };
    const auto propFind = [&](const std::string& path) {
        auto command = make<ASWDCmdPropFind>(path);
        command->setRequestBody("<p/>");
        return command;
    };
    EXPECT_EQ(result(propFind("/start")), "207 PROPFIND <p/>");
    EXPECT_EQ(server_->requests().size(), 3U);
    EXPECT_EQ(result(propFind("/away")), "302 moved");
    EXPECT_EQ(server_->requests().size(), 4U);
    EXPECT_EQ(result(propFind("/loop")), "308 moved");
    EXPECT_EQ(server_->requests().size(), 15U);
    EXPECT_EQ(result(propFind("/see")), "303 moved");
    EXPECT_EQ(result(make<ASWDCmdHead>("/see")), "207 ");
    EXPECT_EQ(server_->requests().size(), 18U);
}

struct StallCase
{
    const char* name;
    const char* bytes;
};

class ASHttpConnectionStall : public ASHttpConnectionTest, public ::testing::WithParamInterface<StallCase>
{
};

TEST_P(ASHttpConnectionStall, EndsAfterTheLimitInStepsOfFiveSeconds)
{
    const std::string bytes = GetParam().bytes;
    serve(bytes);
    auto command = make<ASWDCmdPropFind>();
    ASSERT_TRUE(start(*command));
    const auto connection = command->connection();
    const bool hasBody = bytes.ends_with("begin");
    loop_->runUntil(
        [&] { return hasBody ? connection->processedResponseBodyBytes() == 5 : !server_->requests().empty(); });
    // The request body that went out counts as activity at the first inspection.
    advance(5s);
    advance(19s);
    EXPECT_EQ(handled_, 0);
    advance(1s);
    EXPECT_EQ(handled_, 1);
    expectConnectionError(*command, ASHttpConnection::timedOut);
    EXPECT_FALSE(connection->isOpen());
    EXPECT_FALSE(connection->processedRequestBodyBytes());
}

INSTANTIATE_TEST_SUITE_P(Places, ASHttpConnectionStall,
                         ::testing::Values(StallCase{"silent", ""}, StallCase{"inHead", "HTTP/1.1 200 OK\r\nX: "},
                                           StallCase{"inBody", "HTTP/1.1 207 M\r\nContent-Length: 10\r\n\r\nbegin"}),
                         [](const auto& one) { return std::string(one.param.name); });

TEST_F(ASHttpConnectionTest, TimeLimitsAreTheCommandsOwn)
{
    serve("");
    const auto limitOf = [&](ASWDCmd& command) {
        const auto before = server_->requests().size();
        EXPECT_TRUE(start(command));
        loop_->runUntil([&] { return server_->requests().size() > before; });
        int seconds = 0;
        while (handled_ == 0 && seconds < 1000) {
            advance(5s);
            seconds += 5;
        }
        return seconds;
    };
    EXPECT_EQ(limitOf(*make<ASWDCmdOptions>()), 10);
    EXPECT_EQ(limitOf(*make<ASWDCmdPropFind>()), 25) << "5 seconds until its body has been seen to go out";
    EXPECT_EQ(limitOf(*make<ASWDCmdMkCol>()), 120);

    auto& settings = BXSyncGlobalConf::getInstance();
    settings.setTimeout(60);
    EXPECT_EQ(limitOf(*make<ASWDCmdMkCol>()), 60);
    EXPECT_EQ(limitOf(*make<ASWDCmdGet>()), 120) << "downloads have a limit of their own";
    auto underWay = make<ASWDCmdDelete>();
    ASSERT_TRUE(start(*underWay));
    advance(50s);
    settings.setTimeout(5);
    advance(5s);
    EXPECT_EQ(handled_, 1) << "what is set counts at once";
    settings.setTimeout(std::nullopt);
}

TEST_F(ASHttpConnectionTest, ADownloadTimesOutOnlyWhenItStandsStill)
{
    std::counting_semaphore permits{0};
    std::atomic<bool> over = false;
    // The server's thread is let go even where a check ends the test.
    const std::shared_ptr<void> end(nullptr, [&](void*) {
        over = true;
        permits.release();
        server_.reset();
    });
    serve([&](const RawServer::Request&) {
        return RawServer::Answer{"HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\n", false,
                                 [&] { return permits.acquire(), over ? std::string() : "0123456789"; }};
    });
    auto command = make<ASWDCmdGet>();
    command->setLocalFile(path("f"));
    ASSERT_TRUE(start(*command));
    const auto connection = command->connection();
    for (std::uint64_t received = 10; received <= 50; received += 10) {
        permits.release();
        loop_->runUntil([&] { return connection->processedResponseBodyBytes() == received; });
        advance(115s);
        ASSERT_EQ(handled_, 0) << received;
    }
    advance(5s);
    expectConnectionError(*command, ASHttpConnection::timedOut);
    EXPECT_EQ(readFile("f").size(), 50U);
}

TEST_F(ASHttpConnectionTest, AnUploadTimesOutOnlyWhenItStandsStill)
{
    serve(httpAnswer(201));
    server_->limitBodyReading();
    auto command = make<ASWDCmdPut>();
    command->setRequestBody(std::string(64 << 20, 'u'));
    ASSERT_TRUE(start(*command));
    const auto connection = command->connection();
    const auto sent = [&] { return connection->processedRequestBodyBytes().value_or(0); };
    for (int i = 0; i < 4; ++i) {
        const auto before = sent();
        server_->permitBodyBytes(8 << 20);
        loop_->runUntil([&] { return sent() > before + (4 << 20); });
        advance(110s);
        ASSERT_EQ(handled_, 0);
    }
    // What is under way still arrives; the limit counts from the last byte that moved.
    int standing = 0;
    for (auto before = sent(); advance(5s), handled_ == 0; before = sent())
        standing = sent() == before ? standing + 5 : 0;
    EXPECT_GE(standing, 110);
    expectConnectionError(*command, ASHttpConnection::timedOut);
}

TEST_F(ASHttpConnectionTest, AnUploadThatMovesASecondTimeDoesNotTimeOut)
{
    serve([](const RawServer::Request& request) {
        const bool isFirst = request.requestLine().find("/first") != std::string::npos;
        return RawServer::Answer{isFirst ? httpAnswer(307, "", "Location: /second\r\n") : httpAnswer(201)};
    });
    server_->limitBodyReading();
    auto command = make<ASWDCmdPut>("/first");
    command->setRequestBody(std::string(64 << 20, 'u'));
    ASSERT_TRUE(start(*command));
    const auto connection = command->connection();
    const auto sent = [&] { return connection->processedRequestBodyBytes().value_or(0); };
    server_->permitBodyBytes(60 << 20);
    loop_->runUntil([&] { return sent() > (56 << 20); });
    advance(5s);
    server_->permitBodyBytes(4 << 20);
    loop_->runUntil([&] { return sent() < (28 << 20); });
    for (int i = 0; i < 3; ++i) {
        const auto before = sent();
        server_->permitBodyBytes(8 << 20);
        loop_->runUntil([&] { return sent() > before + (4 << 20); });
        advance(110s);
        ASSERT_EQ(handled_, 0);
    }
    server_->permitBodyBytes(64 << 20);
    finish();
    EXPECT_FALSE(command->error());
    EXPECT_EQ(command->statusCode(), 201);
}

/// Executes `command` here and cancels it from another thread once `stalled` answers true.
class ASHttpConnectionCancel : public ASHttpConnectionTest
{
protected:
    void cancelWhen(ASWDCmd& command, const std::function<bool()>& stalled)
    {
        std::atomic<bool> go = false;
        ASSERT_TRUE(start(command));
        std::thread canceller([&] {
            while (!go)
                std::this_thread::yield();
            EXPECT_TRUE(command.cancel());
            EXPECT_TRUE(command.cancel());
        });
        loop_->runUntil(stalled);
        go = true;
        finish();
        canceller.join();
        turn();
        EXPECT_EQ(handled_, 1);
        ASSERT_TRUE(command.error());
        EXPECT_EQ(command.error()->code, ASWDCmd::requestFailed);
        EXPECT_FALSE(command.connection()->isOpen());
    }
};

TEST_F(ASHttpConnectionCancel, EndsAConnectThatNobodyAccepts)
{
    testing::FullListener listener;
    const Url unreachable = Url::parse("http://127.0.0.1:" + std::to_string(listener.port()) + "/").value();
    cancelWhen(*std::make_shared<ASWDCmdOptions>(unreachable), [] { return true; });
}

TEST_F(ASHttpConnectionCancel, EndsAHandshakeASilentServerAndAProxy)
{
    serve("");
    const Url secure = Url::parse("https://127.0.0.1:" + std::to_string(server_->port()) + "/").value();
    cancelWhen(*std::make_shared<ASWDCmdOptions>(secure), [&] { return server_->connections() == 1; });
    cancelWhen(*make<ASWDCmdPropFind>(), [&] { return server_->requests().size() == 1; });

    info_->setIsUseProxy(true);
    info_->setProxyHost("127.0.0.1");
    info_->setProxyPort(server_->port());
    cancelWhen(*std::make_shared<ASWDCmdOptions>(secure, info_), [&] { return server_->requests().size() == 2; });
}

TEST_F(ASHttpConnectionCancel, EndsAStalledUploadAndDownload)
{
    serve("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nbegin");
    auto get = make<ASWDCmdGet>();
    get->setLocalFile(path("f"));
    cancelWhen(*get, [&] { return get->connection()->processedResponseBodyBytes() == 5; });
    EXPECT_EQ(readFile("f"), "begin");

    server_->limitBodyReading();
    auto put = make<ASWDCmdPut>();
    put->setRequestBody(std::string(16 << 20, 'u'));
    cancelWhen(*put, [&] { return put->connection()->processedRequestBodyBytes().value_or(0) > 0; });
}

TEST_F(ASHttpConnectionCancel, BeforeAndAfterAnExecution)
{
    serve(httpAnswer(200));
    auto early = make<ASWDCmdOptions>();
    early->cancel();
    EXPECT_FALSE(start(*early));
    EXPECT_EQ(handled_, 0);
    EXPECT_TRUE(early->error());

    run(*early);
    early->cancel();
    EXPECT_EQ(handled_, 1);
    EXPECT_FALSE(early->error());
    run(*early);
    EXPECT_FALSE(early->error());

    early->setCompleteEventHandler([this] { ++handled_; });
    std::thread([&] { early->cancel(); }).join();
    EXPECT_FALSE(early->execute()) << "armed again and cancelled before it was sent";
    EXPECT_EQ(handled_, 1);
    EXPECT_TRUE(early->error());
    run(*early);
    EXPECT_FALSE(early->error());
}

} // namespace
} // namespace tidemark
