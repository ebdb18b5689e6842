#include "davclient/ASWDCmd.h"

#include <utility>

#include "Logger/BXLogger.h"

namespace tidemark {

namespace {

constexpr const char* userAgent = "Marlock-Tidemark-for-Mac/" TIDEMARK_VERSION;

} // namespace

ASWDCmd::ASWDCmd(Url remoteURL, std::shared_ptr<ASHttpConnectInfo> connectInfo)
    : remoteURL_(std::move(remoteURL)),
      connectInfo_(connectInfo ? std::move(connectInfo) : std::make_shared<ASHttpConnectInfo>())
{
}

ASWDCmd::~ASWDCmd()
{
    // Others may hold the connection for its counters.
    if (connection_) connection_->setDelegate(nullptr);
    if (connection_) connection_->closeStream(true);
}

std::shared_ptr<ASHttpConnection> ASWDCmd::connection() const
{
    std::lock_guard lock(mutex_);
    return connection_;
}

bool ASWDCmd::isRunning() const
{
    std::lock_guard lock(mutex_);
    return running_;
}

bool ASWDCmd::executedHandler() const
{
    std::lock_guard lock(mutex_);
    return executedHandler_;
}

void ASWDCmd::setCompleteEventHandler(CompleteEventHandler handler)
{
    completeEventHandler_ = std::move(handler);
    std::lock_guard lock(mutex_);
    executedHandler_ = false;
}

bool ASWDCmd::execute()
{
    auto fresh = std::make_shared<ASHttpConnection>();
    fresh->setDelegate(this);
    fresh->setConnectInfo(connectInfo_);
    error_.reset();
    refusal_.clear();
    if (!begin(std::move(fresh))) {
        setError(requestFailed, "The command was cancelled.");
        return false;
    }
    starting_ = true;
    const bool started = makeRequest() && connect();
    starting_ = false;
    if (started) return true;
    std::lock_guard lock(mutex_);
    running_ = false;
    return false;
}

/// False when the command was cancelled before.
bool ASWDCmd::begin(std::shared_ptr<ASHttpConnection> connection)
{
    {
        std::lock_guard lock(mutex_);
        if (std::exchange(cancelledBefore_, false)) return false;
        connection_.swap(connection);
        loop_ = RunLoop::current();
        ++execution_;
        running_ = true;
    }
    if (connection) {
        connection->setDelegate(nullptr);
        connection->closeStream(true);
    }
    return true;
}

bool ASWDCmd::cancel()
{
    std::unique_lock lock(mutex_);
    if (!running_) {
        cancelledBefore_ = cancelledBefore_ || !executedHandler_;
        return true;
    }
    const auto loop = loop_;
    const auto execution = execution_;
    lock.unlock();
    if (isCurrent(*loop)) {
        cancelHere(execution);
    } else {
        loop->post([weak = weak_from_this(), execution] {
            if (const auto self = weak.lock()) self->cancelHere(execution);
        });
    }
    return true;
}

void ASWDCmd::cancelHere(std::uint64_t execution)
{
    const auto self = weak_from_this().lock();
    std::shared_ptr<ASHttpConnection> current;
    {
        std::lock_guard lock(mutex_);
        if (!running_ || execution != execution_) return;
        current = connection_;
    }
    if (refusal_.empty()) refuseResponse("The command was cancelled.");
    current->closeStream(true);
    interruptedConnection(*current);
}

const HttpResponseHead* ASWDCmd::responseHeader() const
{
    return connection_ ? connection_->responseHeader() : nullptr;
}

int ASWDCmd::statusCode() const
{
    const HttpResponseHead* head = responseHeader();
    return head ? head->statusCode : 0;
}

bool ASWDCmd::makeRequest()
{
    if (!connection_->makeRequestWithURL(remoteURL_, protocol())) {
        setErrorFromConnection(*connection_);
        return false;
    }
    for (const auto& [name, value] : requestHeader_.fields())
        connection_->setHeaderField(name, value);
    connection_->setHeaderField("User-Agent", userAgent);
    connection_->setHeaderField("Cookie", connectInfo_->cookieValue());
    return true;
}

bool ASWDCmd::connect()
{
    return connection_->openStream();
}

void ASWDCmd::didReceiveAuthenticationChallenge(ASHttpConnection& connection,
                                                const ASHttpAuthentication& authentication, bool isProxy)
{
    const auto self = weak_from_this().lock();
    ASHttpCredential credential{connectInfo_->username(), connectInfo_->password(), false};
    if (isProxy) credential = {connectInfo_->proxyUsername(), connectInfo_->proxyPassword(), true};
    if (!connection.setAuthentication(authentication, credential)) {
        BXLogger::getLogger()->debug("Cannot provide authentication credentials for connection ");
        setError(requestFailed, "The sign-in that is asked for is not one that can be answered.");
        return fireError();
    }
    if (connect()) return;
    // A failure may have been told already, and the command executed anew.
    if (executedHandler() || connection_.get() != &connection) return;
    setError(requestFailed, "The request cannot be sent again with credentials.");
    fireError();
}

void ASWDCmd::didFailToPassAuthenticationChallenge(ASHttpConnection&, const ASHttpAuthentication& authentication)
{
    setError(requestFailed,
             authentication.isProxy ? "The proxy refused the sign-in." : "The server refused the sign-in.");
    fireError();
}

void ASWDCmd::connectionDidFailToEstablish(ASHttpConnection& connection)
{
    setError(requestFailed, connection.error() ? connection.error()->description() : "The connection failed.");
    fireError();
}

void ASWDCmd::interruptedConnection(ASHttpConnection& connection)
{
    setErrorFromConnection(connection);
    fireError();
}

bool ASWDCmd::handleBytes(ASHttpConnection&, std::span<const std::byte>)
{
    return true;
}

void ASWDCmd::didReceiveResponse(ASHttpConnection&, const HttpResponseHead&)
{
    fireCompleted();
}

void ASWDCmd::setErrorFromConnection(const ASHttpConnection& connection)
{
    Error error{errorDomain, requestFailed, {}};
    if (connection.error()) error.userInfo = connection.error()->userInfo;
    if (!refusal_.empty()) error.userInfo[Error::descriptionKey] = refusal_;
    error_ = std::move(error);
}

void ASWDCmd::setError(std::int64_t code, std::string description)
{
    error_ = Error{errorDomain, code, {{Error::descriptionKey, std::move(description)}}};
}

void ASWDCmd::fireError()
{
    fireCompleted();
}

void ASWDCmd::fireCompleted()
{
    // What fails while execute() is still under way is execute()'s answer.
    if (starting_) return;
    const auto self = weak_from_this().lock();
    {
        std::lock_guard lock(mutex_);
        running_ = false;
        if (std::exchange(executedHandler_, true)) return;
    }
    if (const auto handler = std::exchange(completeEventHandler_, nullptr)) handler();
}

} // namespace tidemark
