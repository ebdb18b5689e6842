#include <array>
#include <random>
#include <stdexcept>

#include <gmock/gmock.h>

#include "WireFixture.h"
#include "davclient/ASWDCmdGet.h"
#include "davclient/ASWDCmdPropBase.h"
#include "davclient/ASWDCmdUpload.h"

namespace tidemark {
namespace {

/// A stream whose events a test gives.
class FakeStream : public HttpStream
{
public:
    FakeStream(HttpStreamClient& client, FakeStream*& registered, bool opens)
        : HttpStream(nullptr, client), client_(client), registered_(registered), opens_(opens)
    {
        registered_ = this;
    }
    ~FakeStream() override
    {
        if (registered_ == this) registered_ = nullptr;
    }

    Status open(HttpStreamRequest) override
    {
        open_ = opens_;
        return opens_ ? Status() : failure("HttpStream", 0, "It does not open.");
    }
    void close() override { open_ = false; }
    bool isOpen() const override { return open_; }
    std::uint64_t sentBodyBytes() const override { return 0; }

    HttpStreamClient& client() { return client_; }
    void end() { open_ = false; }

private:
    HttpStreamClient& client_;
    FakeStream*& registered_;
    const bool opens_;
    bool open_ = false;
};

/// Handlers run exactly once, whatever comes in whatever order.
class EventOrder : public testing::WireFixture
{
protected:
    void SetUp() override
    {
        WireFixture::SetUp();
        serve("");
        info_->setIsUseAuthorization(true);
        info_->setStreamMaker([this](const auto&, HttpStreamClient& client) {
            return std::make_unique<FakeStream>(client, stream_, streamsOpen_);
        });
    }

    HttpResponseHead randomHead()
    {
        static constexpr std::array statuses{200, 206, 207, 401, 404, 407, 416, 500};
        HttpResponseHead head;
        head.statusCode = statuses[pick(statuses.size())];
        head.statusLine = "HTTP/1.1 " + std::to_string(head.statusCode);
        if (pick(8) > 0) head.header.add("Connection", pick(2) ? "close" : "keep-alive");
        if (pick(2)) head.header.add("WWW-Authenticate", pick(2) ? "Basic realm=r" : "Odd");
        return head;
    }

    /// One event as the stream, the clock or a caller may give it; nothing comes from a closed stream.
    void happen(ASWDCmd& command)
    {
        const auto bytes = std::as_bytes(std::span("0123456789"));
        FakeStream* stream = stream_ && stream_->isOpen() ? stream_ : nullptr;
        switch (pick(7)) {
        case 0:
            if (stream) stream->client().streamDidReceiveHead(randomHead());
            break;
        case 1:
        case 2:
            if (stream) stream->client().streamDidReceiveBytes(bytes);
            break;
        case 3:
            if (stream) stream->end(), stream->client().streamDidEnd();
            break;
        case 4:
            if (stream) stream->end(), stream->client().streamDidFail({});
            break;
        case 5:
            advance(std::chrono::seconds(pick(130)));
            break;
        case 6:
            if (pick(4) == 0) command.cancel();
            break;
        }
    }

    std::shared_ptr<ASWDCmd> randomCommand()
    {
        if (pick(3) == 0) return make<ASWDCmdPropFind>();
        if (pick(2) == 0) {
            auto put = make<ASWDCmdPut>();
            put->setRequestBody("body");
            return put;
        }
        auto get = make<ASWDCmdGet>();
        get->setLocalFile(path("f"));
        get->setSentBytes(pick(2) ? 5 : 0);
        return get;
    }

    std::size_t pick(std::size_t below) { return random_() % below; }

    FakeStream* stream_ = nullptr;
    bool streamsOpen_ = true;
    std::mt19937 random_{20240229};
};

TEST_F(EventOrder, TheHandlerRunsOnceIn10000Orders)
{
    writeFile("f", "01234");
    int succeeded = 0;
    for (int order = 0; order < 10'000; ++order) {
        auto command = randomCommand();
        ASSERT_TRUE(start(*command));
        for (int event = 0; event < 8; ++event)
            happen(*command);
        command->cancel();
        ASSERT_EQ(handled_, 1) << "order " << order;
        ASSERT_TRUE(command->executedHandler());
        ASSERT_FALSE(command->connection()->isOpen());
        succeeded += command->error() ? 0 : 1;
    }
    // The orders are no proof when all of them fail.
    EXPECT_GT(succeeded, 300);
    EXPECT_LT(succeeded, 9000);
}

TEST_F(EventOrder, AHandlerMayExecuteTheCommandAgainOrDropIt)
{
    auto command = make<ASWDCmdPropFind>();
    int runs = 0;
    command->setCompleteEventHandler([&] {
        ++runs;
        command->setCompleteEventHandler([&] {
            ++runs;
            command.reset();
        });
        command->execute();
    });
    ASSERT_TRUE(command->execute());
    stream_->client().streamDidFail({});
    EXPECT_EQ(runs, 1);
    ASSERT_TRUE(stream_->isOpen());
    stream_->client().streamDidFail({});
    EXPECT_EQ(runs, 2);
    EXPECT_FALSE(command);
    EXPECT_FALSE(stream_);
}

TEST_F(EventOrder, ARequestThatCannotBeSentAgainFailsOnce)
{
    for (const int status : {401, 416})
        for (const bool executesAgain : {false, true}) {
            SCOPED_TRACE(status);
            auto command = make<ASWDCmdGet>();
            command->setLocalFile(path("f"));
            writeFile("f", "01234");
            command->setSentBytes(5);
            int runs = 0;
            command->setCompleteEventHandler([&] {
                ++runs;
                streamsOpen_ = true;
                if (!executesAgain) return command.reset();
                EXPECT_EQ(command->error()->description(), "It does not open.");
                command->setCompleteEventHandler([&] { ++runs; });
                EXPECT_TRUE(command->execute());
            });
            ASSERT_TRUE(command->execute());
            HttpResponseHead head;
            head.statusCode = status;
            head.header.add("WWW-Authenticate", "Basic realm=r");
            stream_->client().streamDidReceiveHead(head);
            streamsOpen_ = false;
            stream_->end();
            stream_->client().streamDidEnd();
            EXPECT_EQ(runs, 1);
            EXPECT_EQ(command != nullptr, executesAgain);
            EXPECT_TRUE(!command || command->isRunning()) << "the new execution is untouched";
        }
}

/// Throws in whatever the connection tells it, once or always.
class Thrower : public ASWDCmdPropFind
{
public:
    using ASWDCmdPropFind::ASWDCmdPropFind;

    void didReceiveResponse(ASHttpConnection&, const HttpResponseHead&) override { throw std::runtime_error("end"); }
    void interruptedConnection(ASHttpConnection& connection) override
    {
        if (!std::exchange(interrupted_, true) && throwsOnError) throw std::runtime_error("error");
        ASWDCmdPropFind::interruptedConnection(connection);
    }
    std::optional<double> timeout() override
    {
        if (throwsOnTimer) throw 1;
        return 5;
    }

    bool throwsOnError = false;
    bool throwsOnTimer = false;

private:
    bool interrupted_ = false;
};

TEST_F(EventOrder, AnExceptionEndsTheCommandOnce)
{
    const auto failed = [&](const char* reason, const std::function<void(Thrower&)>& event) {
        auto command = make<Thrower>();
        ASSERT_TRUE(start(*command));
        event(*command);
        EXPECT_EQ(handled_, 1) << reason;
        ASSERT_TRUE(command->error()) << reason;
        EXPECT_EQ(command->error()->code, ASWDCmd::requestFailed);
        EXPECT_THAT(command->error()->description(), ::testing::HasSubstr(reason));
        EXPECT_FALSE(command->connection()->isOpen());
        EXPECT_TRUE(!stream_ || !stream_->isOpen());
    };
    failed("end", [&](Thrower&) {
        HttpResponseHead head;
        head.statusCode = 207;
        head.header.add("DAV", "1");
        stream_->client().streamDidReceiveHead(head);
        stream_->end();
        stream_->client().streamDidEnd();
    });
    failed("reset", [&](Thrower& command) {
        command.throwsOnError = true;
        stream_->end();
        stream_->client().streamDidFail({HttpStreamFailure::other, 0, "reset by the other side"});
    });
    failed("exception", [&](Thrower& command) {
        command.throwsOnTimer = true;
        advance(std::chrono::seconds(5));
    });
    failed("no activity", [&](Thrower& command) {
        command.throwsOnError = true;
        advance(std::chrono::seconds(5));
    });
}

TEST_F(EventOrder, TlsOutcomesReachTheCommand)
{
    const auto outcome = [&](HttpStreamFailure kind, const char* key) {
        auto command = make<ASWDCmdPropFind>();
        start(*command);
        stream_->client().streamDidFail({kind, 1, "reason"});
        EXPECT_EQ(command->error()->description(), "reason");
        return command->error()->value(key);
    };
    const char* server = ASHttpConnection::serverCertificateErrorKey;
    const char* client = ASHttpConnection::clientCertificateErrorKey;
    EXPECT_EQ(outcome(HttpStreamFailure::serverCertificateUntrusted, server), "ServerSelfCertificate");
    EXPECT_EQ(outcome(HttpStreamFailure::clientCertificateMissing, client), "ClientCertificateNone");
    EXPECT_EQ(outcome(HttpStreamFailure::clientCertificateRefused, client), "ClientCertificateInvalid");
    EXPECT_EQ(outcome(HttpStreamFailure::other, server) + outcome(HttpStreamFailure::other, client), "");
}

} // namespace
} // namespace tidemark
