#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>

#include "davclient/ASHttpAuthentication.h"
#include "davclient/ASHttpConnectInfo.h"
#include "platform/RunLoop.h"

namespace tidemark {

class ASHttpConnection;

/// What happens on a connection. All on the thread that opened it.
class ASHttpConnectionDelegate
{
public:
    virtual ~ASHttpConnectionDelegate() = default;
    virtual void connectionDidBeginEstablishingConnection(ASHttpConnection&) {}
    virtual void connectionDidFailToEstablish(ASHttpConnection&) {}
    /// The response is complete; its status is neither 401 nor 407.
    virtual void didReceiveResponse(ASHttpConnection&, const HttpResponseHead&) {}
    /// A piece of the response body, 32,768 bytes at most. False ends the exchange as an error.
    virtual bool handleBytes(ASHttpConnection&, std::span<const std::byte> bytes) = 0;
    /// Credentials are asked for; once per connection for the server and once for the proxy.
    virtual void didReceiveAuthenticationChallenge(ASHttpConnection&, const ASHttpAuthentication&, bool /*isProxy*/) {}
    virtual void didFailToPassAuthenticationChallenge(ASHttpConnection&, const ASHttpAuthentication&) {}
    /// A stream error or a time-out.
    virtual void interruptedConnection(ASHttpConnection&) {}
    /// Seconds without progress after which the request ends; the connection's own 120 when nothing.
    virtual std::optional<double> timeout() { return std::nullopt; }
};

/// One HTTP/1.1 request and its response. It knows nothing of WebDAV. Made by make_shared; driven by the RunLoop of the
/// thread that opened it, to which all operations belong except those marked.
///
/// A time-out comes from the connection's own inspection, every 5 seconds by the loop's clock: response bytes and
/// request-body bytes count as progress.
class ASHttpConnection final : public std::enable_shared_from_this<ASHttpConnection>, private HttpStreamClient
{
public:
    static constexpr const char* errorDomain = "HTTPConnection";
    enum ErrorCode : std::int64_t
    {
        requestNotCreated = 4000,
        credentialsNotApplied = 4001,
        streamNotOpened = 4002,
        bodyStreamNotCreated = 4003,
        streamNotCreated = 4004,
        streamFailed = 4005,
        timedOut = 4006,
    };
    /// Keys of an error's userInfo; values "ServerSelfCertificate", and "ClientCertificateNone" or
    /// "ClientCertificateInvalid".
    static constexpr const char* serverCertificateErrorKey = "ServerCertificateError";
    static constexpr const char* clientCertificateErrorKey = "ClientCertificateError";

    ASHttpConnection() = default;
    ~ASHttpConnection() override;
    ASHttpConnection(const ASHttpConnection&) = delete;
    ASHttpConnection& operator=(const ASHttpConnection&) = delete;

    /// Not owned; null for none.
    void setDelegate(ASHttpConnectionDelegate* delegate) { delegate_ = delegate; }
    void setConnectInfo(std::shared_ptr<ASHttpConnectInfo> info) { connectInfo_ = std::move(info); }
    const std::shared_ptr<ASHttpConnectInfo>& connectInfo() const { return connectInfo_; }

    /// False, changing nothing, when there is a request already; false with error 4000 for an unusable URL or method.
    bool makeRequestWithURL(const Url& url, const std::string& protocol);
    /// Nothing removes the field.
    void setHeaderField(const std::string& name, std::optional<std::string> value);
    std::optional<std::string> headerField(const std::string& name) const;

    bool openStream();
    bool openStreamWithRequestBodyData(std::shared_ptr<const std::string> data);
    /// The body is read from `body` (null for none), `length` bytes in all.
    bool openStreamWithRequestBodyStream(std::shared_ptr<InputStream> body, std::uint64_t length);

    /// Credentials to send without being asked.
    bool setAuthenticationUsername(const std::string& username, const std::string& password,
                                   HttpAuthenticationScheme scheme, bool isProxy);
    /// Answers a challenge on the next open and remembers its scheme in the connect info.
    bool setAuthentication(const ASHttpAuthentication& authentication, const ASHttpCredential& credentials);

    void closeStream() { closeStream(false); }
    /// A forced close drops the stream at once. Otherwise an exchange that has ended keeps its counters readable; the
    /// network connection itself stays with the thread's RunLoop for the next request either way.
    void closeStream(bool force);
    /// Gives the request up so that another can be made.
    void releaseRequest();

    const Url& remoteURL() const { return remoteURL_; }
    bool isOpen() const { return isOpen_; }
    /// Null until a response has come.
    const HttpResponseHead* responseHeader() const { return responseHeader_ ? &*responseHeader_ : nullptr; }
    /// Bytes of the request body written so far; nothing without a stream. Any thread.
    std::optional<std::uint64_t> processedRequestBodyBytes() const;
    /// Any thread.
    std::uint64_t processedResponseBodyBytes() const { return processedResponseBodyBytes_; }
    const std::optional<Error>& error() const { return error_; }
    /// What the stream itself reported.
    const std::optional<HttpStreamError>& getRequestStreamError() const { return streamError_; }

private:
    struct Request
    {
        std::string method;
        HttpHeader header;
        HttpCredentials credentials;
        HttpCredentials proxyCredentials;
    };

    void streamDidReceiveHead(const HttpResponseHead& head) override;
    bool streamDidReceiveBytes(std::span<const std::byte> bytes) override;
    void streamDidEnd() override;
    void streamDidFail(const HttpStreamError& error) override;

    void addLearntCredentials();
    HttpStreamRequest streamRequest(std::shared_ptr<InputStream> body, std::uint64_t length) const;
    bool failToOpen(ErrorCode code, const Error& reason);
    bool failToOpen(ErrorCode code, const std::string& text);
    void handle(const std::function<void()>& event);
    /// False where `step` threw; the reason is the stream's error then.
    bool attempt(const std::function<void()>& step);
    void startInspection();
    void stopInspection();
    void onInspectTimeout();
    void onTimeout(double limit);
    void handleEnd();
    void handleChallenge(const HttpResponseHead& head);
    bool isFromProxy(const HttpResponseHead& head) const;
    void handleError();
    void setErrorIfNone(Error error);
    void replaceStream(std::shared_ptr<HttpStream> stream);

    std::optional<Request> request_;
    mutable std::mutex mutex_; // guards the pointer requestStream_
    std::shared_ptr<HttpStream> requestStream_;
    Url remoteURL_;
    std::atomic<bool> isOpen_ = false;
    bool authenticationRequired_ = false;
    bool proxyAuthenticationRequired_ = false;
    std::optional<HttpResponseHead> responseHeader_;
    std::uint64_t preSize_ = 0;
    ASHttpConnectionDelegate* delegate_ = nullptr;
    std::optional<Error> error_;
    std::optional<HttpStreamError> streamError_;
    std::shared_ptr<ASHttpConnectInfo> connectInfo_;
    std::shared_ptr<RunLoop> loop_;
    std::optional<RunLoop::TimerId> timeoutInspectTimer_;
    Clock::SteadyTime lastActivity_;
    std::atomic<std::uint64_t> processedResponseBodyBytes_ = 0;
};

} // namespace tidemark
