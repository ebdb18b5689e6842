#include <array>
#include <random>

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
    FakeStream(HttpStreamClient& client, FakeStream*& registered)
        : HttpStream(nullptr, client), client_(client), registered_(registered)
    {
        registered_ = this;
    }
    ~FakeStream() override
    {
        if (registered_ == this) registered_ = nullptr;
    }

    Status open(HttpStreamRequest) override
    {
        open_ = true;
        return {};
    }
    void close() override { open_ = false; }
    bool isOpen() const override { return open_; }
    std::uint64_t sentBodyBytes() const override { return 0; }

    HttpStreamClient& client() { return client_; }
    void end() { open_ = false; }

private:
    HttpStreamClient& client_;
    FakeStream*& registered_;
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
        info_->setStreamMaker(
            [this](const auto&, HttpStreamClient& client) { return std::make_unique<FakeStream>(client, stream_); });
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
