#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "davclient/ASHttpConnection.h"

namespace tidemark {

/// One WebDAV request, made by std::make_shared: set its parameters and a handler, execute(), run the thread's RunLoop
/// until the handler has run, then read error(), responseHeader() and what the class adds. The handler runs exactly
/// once per execute() that answered true, for success and failure alike; a status of 4xx or 5xx is no error of the
/// command.
///
/// A command belongs to the thread that executes it. From any other thread only cancel(), connection() with its byte
/// counters, and sentBytes() may be called.
class ASWDCmd : public ASHttpConnectionDelegate, public std::enable_shared_from_this<ASWDCmd>
{
public:
    using CompleteEventHandler = std::function<void()>;

    static constexpr const char* errorDomain = "ASWDCmd";
    enum ErrorCode : std::int64_t
    {
        /// No connection, interrupted (userInfo is the connection's), sign-in refused.
        requestFailed = 32768,
        xmlParseError = 32769,
        requestStreamNotCreated = 32770,
    };

    explicit ASWDCmd(Url remoteURL, std::shared_ptr<ASHttpConnectInfo> connectInfo = nullptr);
    ~ASWDCmd() override;
    ASWDCmd(const ASWDCmd&) = delete;
    ASWDCmd& operator=(const ASWDCmd&) = delete;

    const Url& remoteURL() const { return remoteURL_; }
    const std::shared_ptr<ASHttpConnectInfo>& connectInfo() const { return connectInfo_; }
    /// Null before the first execute(). Any thread.
    std::shared_ptr<ASHttpConnection> connection() const;

    /// Re-arms the command, so that it can be executed again.
    void setCompleteEventHandler(CompleteEventHandler handler);
    bool executedHandler() const;
    /// Executed, and the handler has not run.
    bool isRunning() const;

    /// Header fields of the request beside those of the class.
    HttpHeader& requestHeader() { return requestHeader_; }
    const HttpHeader& requestHeader() const { return requestHeader_; }

    /// The method.
    virtual std::string protocol() const { return "UNKNOWN"; }

    /// Sends the request off. False when it failed at once or was cancelled before; the handler does not run then.
    virtual bool execute();

    /// Ends what is under way, whatever it waits for: the handler runs with an error. On another thread than the
    /// executing one that is posted to the executing thread's RunLoop. Before execute(), the first or one for which
    /// the command has been armed again, it makes that execute() answer false. Always true. Any thread.
    bool cancel();

    /// Null until a response has come.
    virtual const HttpResponseHead* responseHeader() const;
    /// 0 until a response has come.
    int statusCode() const;
    const std::optional<Error>& error() const { return error_; }

    /// The offset of a resumed transfer. Any thread.
    std::int64_t sentBytes() const { return sentBytes_; }
    void setSentBytes(std::int64_t value) { sentBytes_ = value; }

    void didReceiveAuthenticationChallenge(ASHttpConnection&, const ASHttpAuthentication&, bool isProxy) override;
    void didFailToPassAuthenticationChallenge(ASHttpConnection&, const ASHttpAuthentication&) override;
    void connectionDidFailToEstablish(ASHttpConnection&) override;
    void interruptedConnection(ASHttpConnection&) override;
    bool handleBytes(ASHttpConnection&, std::span<const std::byte> bytes) override;
    void didReceiveResponse(ASHttpConnection&, const HttpResponseHead&) override;

protected:
    virtual bool makeRequest();
    /// Opens the connection with the class's body.
    virtual bool connect();
    void fireError();
    void fireCompleted();
    /// Sets error 32768 with what the connection knows about its failure.
    void setErrorFromConnection(const ASHttpConnection& connection);
    void setError(std::int64_t code, std::string description);
    /// Why handleBytes() is about to refuse the response; becomes the description of the error.
    void refuseResponse(std::string reason) { refusal_ = std::move(reason); }

private:
    bool begin(std::shared_ptr<ASHttpConnection> connection);
    void cancelHere(std::uint64_t execution);

    const Url remoteURL_;
    const std::shared_ptr<ASHttpConnectInfo> connectInfo_;
    mutable std::mutex mutex_; // guards the pointer connection_ and all to executedHandler_
    std::shared_ptr<ASHttpConnection> connection_;
    std::shared_ptr<RunLoop> loop_;
    /// Counts executions, so that a cancel posted for one does not hit the next.
    std::uint64_t execution_ = 0;
    bool cancelledBefore_ = false;
    /// Executed, and the handler has not run.
    bool running_ = false;
    /// Neither new nor armed again: a cancel has nothing to end.
    bool executedHandler_ = false;
    bool starting_ = false;
    std::string refusal_;
    std::atomic<std::int64_t> sentBytes_ = 0;
    CompleteEventHandler completeEventHandler_;
    HttpHeader requestHeader_;
    std::optional<Error> error_;
};

} // namespace tidemark
