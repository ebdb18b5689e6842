#pragma once

#include <array>
#include <atomic>
#include <optional>

#include "platform/HttpEasySetup.h"
#include "platform/HttpHeadReader.h"
#include "platform/HttpStream.h"
#include "platform/HttpTlsObservation.h"
#include "platform/RunLoopTransfers.h"

namespace tidemark {

/// One HttpStream's work; lives until libcurl has let go of it, even where the stream is gone.
class HttpStream::Exchange : public RunLoop::Transfers::Owner, public std::enable_shared_from_this<Exchange>
{
public:
    Exchange(std::shared_ptr<HttpSession> session, HttpStreamClient& client);
    ~Exchange() override;

    Status open(HttpStreamRequest request);
    void close();
    bool isOpen() const { return client_ != nullptr && loop_ != nullptr; }
    std::uint64_t sentBodyBytes() const { return sentBodyBytes_; }

    void transferDidFinish(int curlCode) override;
    void transferWasDropped() override;

private:
    struct Callbacks;
    using EasyHandle = void*;
    static constexpr std::size_t largestPiece = 32768;
    static constexpr std::size_t largestRedirectBody = 64 * 1024;
    static constexpr int redirectLimit = 10;

    Status start();
    void setCallbacks();
    void giveEasyBack();
    bool takeHeaderLine(std::string_view line);
    bool takeBody(std::span<const std::byte> bytes);
    std::size_t readBody(std::span<std::byte> buffer);
    bool rewindBody();
    bool headIsFinal() const;
    std::optional<Url> redirectTarget() const;
    bool deliverHead(const HttpResponseHead& head);
    bool deliverBytes(std::span<const std::byte> bytes);
    void followRedirect();
    bool connectionWasGone(int curlCode) const;
    void sendAgain();
    void restart();
    void endWithResponse();
    void endWithTunnelAnswer();
    void fail(HttpStreamError error);
    bool remember(HttpStreamFailure kind, std::string text);
    void finish(const std::function<void(HttpStreamClient&)>& lastEvent);

    const std::shared_ptr<HttpSession> session_;
    /// Null once closed or ended.
    HttpStreamClient* client_;
    std::shared_ptr<RunLoop> loop_;
    HttpStreamRequest request_;
    std::string sessionKey_;
    EasyHandle easy_ = nullptr;
    HttpEasyLists lists_;
    std::array<char, 512> errorText_{};
    std::shared_ptr<HttpTlsObservation> tls_;
    HttpHeadReader reader_;
    /// The proxy's answers to CONNECT.
    HttpHeadReader tunnelReader_;
    bool tunnelling_ = false;
    bool headDelivered_ = false;
    std::optional<Url> redirect_;
    std::size_t redirectBody_ = 0;
    int redirects_ = 0;
    /// The request has been sent again because a kept connection was gone.
    bool onNewConnection_ = false;
    std::uint64_t bodyRead_ = 0;
    std::atomic<std::uint64_t> sentBodyBytes_ = 0;
    /// Why a callback ended the transfer.
    std::optional<HttpStreamError> ownFailure_;
};

} // namespace tidemark
