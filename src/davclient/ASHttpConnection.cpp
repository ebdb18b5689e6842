#include "davclient/ASHttpConnection.h"

#include <strings.h>
#include <utility>

#include "Logger/BXLogger.h"

namespace tidemark {

namespace {

constexpr auto inspectionInterval = std::chrono::seconds(5);
constexpr double defaultTimeout = 120;

Error connectionError(std::int64_t code, const std::string& text)
{
    return {ASHttpConnection::errorDomain, code, {{Error::descriptionKey, text}}};
}

void addCertificateOutcome(Error& error, HttpStreamFailure kind)
{
    switch (kind) {
    case HttpStreamFailure::serverCertificateUntrusted:
        error.userInfo[ASHttpConnection::serverCertificateErrorKey] = "ServerSelfCertificate";
        break;
    case HttpStreamFailure::clientCertificateMissing:
        error.userInfo[ASHttpConnection::clientCertificateErrorKey] = "ClientCertificateNone";
        break;
    case HttpStreamFailure::clientCertificateRefused:
        error.userInfo[ASHttpConnection::clientCertificateErrorKey] = "ClientCertificateInvalid";
        break;
    case HttpStreamFailure::other:
    case HttpStreamFailure::bodyShorterThanAnnounced:
    case HttpStreamFailure::headerTooLarge:
        break;
    }
}

} // namespace

ASHttpConnection::~ASHttpConnection()
{
    closeStream(true);
}

bool ASHttpConnection::makeRequestWithURL(const Url& url, const std::string& protocol)
{
    if (request_) return false;
    if (url.empty() || protocol.empty()) {
        error_ = connectionError(requestNotCreated, "The request cannot be made: no URL or no method.");
        return false;
    }
    remoteURL_ = url;
    request_.emplace();
    request_->method = protocol;
    return true;
}

void ASHttpConnection::setHeaderField(const std::string& name, std::optional<std::string> value)
{
    if (!request_) return;
    if (value)
        request_->header.set(name, std::move(*value));
    else
        request_->header.remove(name);
}

std::optional<std::string> ASHttpConnection::headerField(const std::string& name) const
{
    return request_ ? request_->header.value(name) : std::nullopt;
}

bool ASHttpConnection::openStream()
{
    return openStreamWithRequestBodyStream(nullptr, 0);
}

bool ASHttpConnection::openStreamWithRequestBodyData(std::shared_ptr<const std::string> data)
{
    const std::uint64_t length = data->size();
    if (length > 0) return openStreamWithRequestBodyStream(makeMemoryInputStream(std::move(data)), length);
    setHeaderField("Content-Length", "0");
    return openStream();
}

bool ASHttpConnection::openStreamWithRequestBodyStream(std::shared_ptr<InputStream> body, std::uint64_t length)
{
    const auto self = weak_from_this().lock();
    responseHeader_.reset();
    streamError_.reset();
    if (!connectInfo_) connectInfo_ = std::make_shared<ASHttpConnectInfo>();
    if (delegate_) delegate_->connectionDidBeginEstablishingConnection(*this);
    if (!request_) return failToOpen(requestNotCreated, "There is no request.");
    addLearntCredentials();

    std::shared_ptr<HttpStream> stream = connectInfo_->makeStream(*this);
    if (!stream) return failToOpen(body ? bodyStreamNotCreated : streamNotCreated, "There is no stream.");
    preSize_ = 0;
    processedResponseBodyBytes_ = 0;
    replaceStream(stream);
    if (auto opened = stream->open(streamRequest(std::move(body), length)); !opened)
        return failToOpen(streamNotOpened, opened.error());
    isOpen_ = true;
    startInspection();
    return true;
}

void ASHttpConnection::addLearntCredentials()
{
    if (const auto known = connectInfo_->credentials(); known.scheme != HttpAuthenticationScheme::none)
        setAuthenticationUsername(known.username, known.password, known.scheme, false);
    const auto proxy = connectInfo_->proxy();
    if (proxy && proxy->credentials.scheme != HttpAuthenticationScheme::none)
        setAuthenticationUsername(proxy->credentials.username, proxy->credentials.password, proxy->credentials.scheme,
                                  true);
}

HttpStreamRequest ASHttpConnection::streamRequest(std::shared_ptr<InputStream> body, std::uint64_t length) const
{
    HttpStreamRequest request;
    request.method = request_->method;
    request.url = remoteURL_;
    request.header = request_->header;
    request.body = std::move(body);
    request.bodyLength = length;
    request.credentials = request_->credentials;
    request.proxy = connectInfo_->proxy();
    if (request.proxy) request.proxy->credentials = request_->proxyCredentials;
    request.tls = connectInfo_->tls();
    return request;
}

bool ASHttpConnection::failToOpen(ErrorCode code, const Error& reason)
{
    if (reason.domain == "POSIX")
        BXLogger::getLogger()->debug("open stream error {} (posix)", reason.code);
    else
        BXLogger::getLogger()->debug("open stream error {}: {}", static_cast<int>(code), reason.description());
    return failToOpen(code, reason.description());
}

bool ASHttpConnection::failToOpen(ErrorCode code, const std::string& text)
{
    error_ = connectionError(code, text);
    replaceStream(nullptr);
    if (delegate_) delegate_->connectionDidFailToEstablish(*this);
    return false;
}

bool ASHttpConnection::setAuthenticationUsername(const std::string& username, const std::string& password,
                                                 HttpAuthenticationScheme scheme, bool isProxy)
{
    if (!request_ || scheme == HttpAuthenticationScheme::none) {
        error_ = connectionError(credentialsNotApplied, "The credentials cannot be added to the request.");
        return false;
    }
    (isProxy ? request_->proxyCredentials : request_->credentials) = {scheme, username, password};
    return true;
}

bool ASHttpConnection::setAuthentication(const ASHttpAuthentication& authentication,
                                         const ASHttpCredential& credentials)
{
    if (!setAuthenticationUsername(credentials.username, credentials.password, authentication.method,
                                   credentials.isProxy))
        return false;
    if (credentials.isProxy) {
        connectInfo_->setProxyAuthenticationScheme(authentication.method);
        proxyAuthenticationRequired_ = true;
    } else {
        connectInfo_->setAuthenticationScheme(authentication.method);
        authenticationRequired_ = true;
    }
    return true;
}

void ASHttpConnection::closeStream(bool force)
{
    const bool wasOpen = isOpen_.exchange(false);
    if (wasOpen) stopInspection();
    if (wasOpen && requestStream_) requestStream_->close();
    if (force) replaceStream(nullptr);
}

void ASHttpConnection::releaseRequest()
{
    request_.reset();
}

std::optional<std::uint64_t> ASHttpConnection::processedRequestBodyBytes() const
{
    std::shared_ptr<HttpStream> stream;
    {
        std::lock_guard lock(mutex_);
        stream = requestStream_;
    }
    return stream ? std::optional(stream->sentBodyBytes()) : std::nullopt;
}

void ASHttpConnection::streamDidReceiveHead(const HttpResponseHead& head)
{
    if (!head.header.empty()) responseHeader_ = head;
}

bool ASHttpConnection::streamDidReceiveBytes(std::span<const std::byte> bytes)
{
    const auto self = weak_from_this().lock();
    const bool accepted = !delegate_ || delegate_->handleBytes(*this, bytes);
    processedResponseBodyBytes_ += bytes.size();
    lastActivity_ = loop_->clock().steadyNow();
    return accepted;
}

void ASHttpConnection::streamDidEnd()
{
    handle([this] { handleEnd(); });
}

void ASHttpConnection::streamDidFail(const HttpStreamError& error)
{
    handle([&] {
        streamError_ = error;
        handleError();
    });
}

/// An exception from what an event sets off ends the exchange as an error.
void ASHttpConnection::handle(const std::function<void()>& event)
{
    const auto self = weak_from_this().lock();
    if (!attempt(event)) attempt([this] { handleError(); });
}

bool ASHttpConnection::attempt(const std::function<void()>& step)
{
    std::string reason = "An exception ended the exchange.";
    try {
        step();
        return true;
    } catch (const std::exception& exception) {
        BXLogger::globalErrorException(exception);
        reason = exception.what();
    } catch (...) {
        BXLogger::globalError(reason);
    }
    streamError_ = HttpStreamError{HttpStreamFailure::other, 0, std::move(reason)};
    return false;
}

void ASHttpConnection::startInspection()
{
    loop_ = RunLoop::current();
    lastActivity_ = loop_->clock().steadyNow();
    if (timeoutInspectTimer_) return;
    timeoutInspectTimer_ = loop_->addTimer(inspectionInterval, true, [weak = weak_from_this()] {
        if (const auto self = weak.lock()) self->handle([&] { self->onInspectTimeout(); });
    });
}

void ASHttpConnection::stopInspection()
{
    if (timeoutInspectTimer_) loop_->removeTimer(*timeoutInspectTimer_);
    timeoutInspectTimer_.reset();
}

void ASHttpConnection::onInspectTimeout()
{
    const auto now = loop_->clock().steadyNow();
    if (const auto sent = processedRequestBodyBytes().value_or(0); sent != preSize_) {
        // A body that has to be sent again counts from 0 once more.
        lastActivity_ = now;
        preSize_ = sent;
    }
    const double limit = (delegate_ ? delegate_->timeout() : std::nullopt).value_or(defaultTimeout);
    if (std::chrono::duration<double>(now - lastActivity_).count() >= limit) onTimeout(limit);
}

void ASHttpConnection::onTimeout(double limit)
{
    BXLogger::getLogger()->debug("Connection timeout");
    error_ = connectionError(timedOut, fmt::format("There was no activity for {} seconds.", limit));
    if (delegate_) delegate_->interruptedConnection(*this);
    closeStream(true);
}

void ASHttpConnection::handleEnd()
{
    const bool closes =
        responseHeader_ && strcasecmp(responseHeader_->header.value("Connection").value_or("").c_str(), "close") == 0;
    closeStream(closes);
    if (!responseHeader_) {
        streamError_ = HttpStreamError{HttpStreamFailure::other, 0, "The answer has no header."};
        return handleError();
    }
    const HttpResponseHead head = *responseHeader_;
    BXLogger::getLogger()->debug("{} {}", head.statusCode, head.statusLine);
    connectInfo_->setCookie(head.header, remoteURL_);
    if (head.statusCode == 401 || head.statusCode == 407) return handleChallenge(head);
    if (delegate_) delegate_->didReceiveResponse(*this, head);
}

void ASHttpConnection::handleChallenge(const HttpResponseHead& head)
{
    setHeaderField("Cookie", connectInfo_->cookieValue());
    const auto authentication = authenticationFromResponse(head);
    const bool isProxy = authentication.isProxy;
    const bool answers =
        isProxy ? !proxyAuthenticationRequired_ && connectInfo_->isUseProxyAuthorization() && isFromProxy(head)
                : !authenticationRequired_ && connectInfo_->isUseAuthorization();
    if (!delegate_) return;
    if (answers)
        delegate_->didReceiveAuthenticationChallenge(*this, authentication, isProxy);
    else
        delegate_->didFailToPassAuthenticationChallenge(*this, authentication);
}

/// A server must not have a say in how the proxy is signed in to.
bool ASHttpConnection::isFromProxy(const HttpResponseHead& head) const
{
    const auto proxy = connectInfo_->proxy();
    const bool tunnels = proxy && (proxy->tunnelsAll || remoteURL_.isHttps());
    return proxy && (!tunnels || head.refusesTunnel);
}

void ASHttpConnection::handleError()
{
    closeStream(true);
    const HttpStreamError reason = streamError_.value_or(HttpStreamError{});
    Error error = connectionError(streamFailed, reason.text);
    addCertificateOutcome(error, reason.kind);
    if (reason.serverCertificate) connectInfo_->setUntrustedCertificate(reason.serverCertificate);
    setErrorIfNone(std::move(error));
    if (delegate_) delegate_->interruptedConnection(*this);
}

void ASHttpConnection::setErrorIfNone(Error error)
{
    if (!error_) error_ = std::move(error);
}

void ASHttpConnection::replaceStream(std::shared_ptr<HttpStream> stream)
{
    {
        std::lock_guard lock(mutex_);
        requestStream_.swap(stream);
    }
    if (stream) stream->close();
}

} // namespace tidemark
