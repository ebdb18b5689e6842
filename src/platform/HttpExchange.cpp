#include "platform/HttpExchange.h"

#include <algorithm>
#include <utility>

#include <curl/curl.h>

#include "platform/HttpFailure.h"
#include "platform/HttpSessionState.h"

namespace tidemark {

/// libcurl's callbacks. None lets an exception through: it ends the transfer.
struct HttpStream::Exchange::Callbacks
{
    template <class Call>
    static bool guarded(Exchange& exchange, Call call)
    {
        try {
            return call();
        } catch (const std::exception& exception) {
            return exchange.remember(HttpStreamFailure::other, exception.what());
        } catch (...) {
            return exchange.remember(HttpStreamFailure::other, "An exception ended the exchange.");
        }
    }

    static std::size_t header(char* data, std::size_t, std::size_t size, void* self)
    {
        auto& exchange = *static_cast<Exchange*>(self);
        return guarded(exchange, [&] { return exchange.takeHeaderLine({data, size}); }) ? size : 0;
    }

    static std::size_t write(char* data, std::size_t, std::size_t size, void* self)
    {
        auto& exchange = *static_cast<Exchange*>(self);
        const auto bytes = std::as_bytes(std::span(data, size));
        return guarded(exchange, [&] { return exchange.takeBody(bytes); }) ? size : CURL_WRITEFUNC_ERROR;
    }

    static std::size_t read(char* buffer, std::size_t, std::size_t size, void* self)
    {
        auto& exchange = *static_cast<Exchange*>(self);
        std::size_t count = CURL_READFUNC_ABORT;
        guarded(exchange, [&] {
            count = exchange.readBody(std::as_writable_bytes(std::span(buffer, size)));
            return true;
        });
        return count;
    }

    static int seek(void* self, curl_off_t offset, int origin)
    {
        auto& exchange = *static_cast<Exchange*>(self);
        const bool toStart = offset == 0 && origin == SEEK_SET;
        return toStart && guarded(exchange, [&] { return exchange.rewindBody(); }) ? CURL_SEEKFUNC_OK
                                                                                   : CURL_SEEKFUNC_FAIL;
    }

    static int progress(void* self, curl_off_t, curl_off_t, curl_off_t, curl_off_t sent)
    {
        auto& exchange = *static_cast<Exchange*>(self);
        const auto total = static_cast<std::uint64_t>(sent);
        if (exchange.sentBodyBytes_.exchange(total) != total) exchange.loop_->transfers().noteProgress();
        return 0;
    }

    /// A new network connection: what comes first through a proxy is its answer to CONNECT.
    static int newSocket(void* self, curl_socket_t, curlsocktype)
    {
        auto& exchange = *static_cast<Exchange*>(self);
        exchange.tunnelling_ = usesTunnel(exchange.request_);
        return CURL_SOCKOPT_OK;
    }

    /// The connection, tunnel and TLS are there; the request goes out next.
    static int beforeRequest(void* self, char*, char*, int, int)
    {
        static_cast<Exchange*>(self)->tunnelling_ = false;
        return CURL_PREREQFUNC_OK;
    }

    static CURLcode tlsContext(CURL*, void* context, void* self)
    {
        return observeTls(context, static_cast<Exchange*>(self)->tls_) ? CURLE_OK : CURLE_OUT_OF_MEMORY;
    }
};

HttpStream::Exchange::Exchange(std::shared_ptr<HttpSession> session, HttpStreamClient& client)
    : session_(session ? std::move(session) : std::make_shared<HttpSession>()), client_(&client),
      tls_(std::make_shared<HttpTlsObservation>())
{
}

HttpStream::Exchange::~Exchange()
{
    if (easy_) curl_easy_cleanup(easy_);
}

Status HttpStream::Exchange::open(HttpStreamRequest request)
{
    if (auto usable = checkRequest(request); !usable) return usable;
    const bool opensBody = request.body && request.body->streamStatus() == StreamStatus::notOpen;
    if (opensBody && !request.body->open()) {
        const Error* reason = request.body->streamError();
        return reason ? failure(*reason) : failure("HttpStream", 0, "The request body cannot be opened.");
    }
    request_ = std::move(request);
    sessionKey_ = sessionKey(request_);
    loop_ = RunLoop::current();
    easy_ = session_->state().take(sessionKey_);
    if (!easy_) return failure("HttpStream", CURLE_OUT_OF_MEMORY, "Memory is short.");
    auto started = start();
    if (!started) loop_ = nullptr;
    return started;
}

Status HttpStream::Exchange::start()
{
    if (auto setUp = setUpEasy(easy_, request_, lists_); !setUp) return setUp;
    setCallbacks();
    curl_easy_setopt(easy_, CURLOPT_FRESH_CONNECT, onNewConnection_ ? 1L : 0L);
    errorText_[0] = 0;
    tunnelling_ = false;
    if (loop_->transfers().add(easy_, shared_from_this())) return {};
    return failure("HttpStream", CURLE_FAILED_INIT, "The transfer cannot be started.");
}

void HttpStream::Exchange::setCallbacks()
{
    curl_easy_setopt(easy_, CURLOPT_ERRORBUFFER, errorText_.data());
    curl_easy_setopt(easy_, CURLOPT_HEADERFUNCTION, Callbacks::header);
    curl_easy_setopt(easy_, CURLOPT_HEADERDATA, this);
    curl_easy_setopt(easy_, CURLOPT_WRITEFUNCTION, Callbacks::write);
    curl_easy_setopt(easy_, CURLOPT_WRITEDATA, this);
    curl_easy_setopt(easy_, CURLOPT_READFUNCTION, Callbacks::read);
    curl_easy_setopt(easy_, CURLOPT_READDATA, this);
    curl_easy_setopt(easy_, CURLOPT_SEEKFUNCTION, Callbacks::seek);
    curl_easy_setopt(easy_, CURLOPT_SEEKDATA, this);
    curl_easy_setopt(easy_, CURLOPT_XFERINFOFUNCTION, Callbacks::progress);
    curl_easy_setopt(easy_, CURLOPT_XFERINFODATA, this);
    curl_easy_setopt(easy_, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(easy_, CURLOPT_SOCKOPTFUNCTION, Callbacks::newSocket);
    curl_easy_setopt(easy_, CURLOPT_SOCKOPTDATA, this);
    curl_easy_setopt(easy_, CURLOPT_PREREQFUNCTION, Callbacks::beforeRequest);
    curl_easy_setopt(easy_, CURLOPT_PREREQDATA, this);
    curl_easy_setopt(easy_, CURLOPT_SSL_CTX_FUNCTION, Callbacks::tlsContext);
    curl_easy_setopt(easy_, CURLOPT_SSL_CTX_DATA, this);
}

void HttpStream::Exchange::close()
{
    if (!isOpen()) return;
    client_ = nullptr;
    loop_->transfers().remove(easy_, [self = shared_from_this()] { self->giveEasyBack(); });
}

void HttpStream::Exchange::giveEasyBack()
{
    if (!easy_) return;
    // The handle outlives this exchange: it keeps nothing that points here.
    curl_easy_setopt(easy_, CURLOPT_ERRORBUFFER, nullptr);
    curl_easy_setopt(easy_, CURLOPT_HTTPHEADER, nullptr);
    session_->state().give(sessionKey_, std::exchange(easy_, nullptr));
}

bool HttpStream::Exchange::takeHeaderLine(std::string_view line)
{
    if (!client_) return false;
    HttpHeadReader& reader = tunnelling_ ? tunnelReader_ : reader_;
    switch (reader.take(line)) {
    case HttpHeadReader::Outcome::more:
        return true;
    case HttpHeadReader::Outcome::tooLarge:
        return remember(HttpStreamFailure::headerTooLarge, "The header of the answer is too large.");
    case HttpHeadReader::Outcome::malformed:
        return remember(HttpStreamFailure::other, "The answer's Content-Length is repeated or malformed.");
    case HttpHeadReader::Outcome::headComplete:
        break;
    }
    if (tunnelling_) return true;
    redirect_ = redirectTarget();
    return headIsFinal() ? deliverHead(reader_.head()) : true;
}

/// Whether it is certain at the end of a head that this answer is the one to report.
bool HttpStream::Exchange::headIsFinal() const
{
    const int status = reader_.head().statusCode;
    const bool answeredByLibcurl = status == 401 || status == 407;
    return status >= 200 && !answeredByLibcurl && !redirect_;
}

std::optional<Url> HttpStream::Exchange::redirectTarget() const
{
    const HttpResponseHead& head = reader_.head();
    const bool keepsMethod =
        head.statusCode == 301 || head.statusCode == 302 || head.statusCode == 307 || head.statusCode == 308;
    // 303 asks for a GET, which answers only what was a question in the first place.
    const bool isQuestion = request_.method == "GET" || request_.method == "HEAD";
    if (!keepsMethod && !(head.statusCode == 303 && isQuestion)) return std::nullopt;
    const auto location = head.header.value("Location");
    if (!location || redirects_ >= redirectLimit) return std::nullopt;
    const auto target = request_.url.resolve(*location);
    if (!target || !target->hasSameOrigin(request_.url)) return std::nullopt;
    return *target;
}

bool HttpStream::Exchange::deliverHead(const HttpResponseHead& head)
{
    if (headDelivered_) return true;
    headDelivered_ = true;
    loop_->transfers().noteProgress();
    client_->streamDidReceiveHead(head);
    return client_ != nullptr;
}

bool HttpStream::Exchange::takeBody(std::span<const std::byte> bytes)
{
    if (!client_) return false;
    if (redirect_) {
        redirectBody_ += bytes.size();
        return redirectBody_ <= largestRedirectBody ||
               remember(HttpStreamFailure::other, "The body of a redirection is too large.");
    }
    return deliverHead(reader_.head()) && deliverBytes(bytes);
}

bool HttpStream::Exchange::deliverBytes(std::span<const std::byte> bytes)
{
    loop_->transfers().noteProgress();
    while (!bytes.empty()) {
        const auto piece = bytes.first(std::min(bytes.size(), largestPiece));
        bytes = bytes.subspan(piece.size());
        if (!client_->streamDidReceiveBytes(piece))
            return remember(HttpStreamFailure::other, "The body of the answer was not accepted.");
        if (!client_) return false;
    }
    return true;
}

std::size_t HttpStream::Exchange::readBody(std::span<std::byte> buffer)
{
    const std::uint64_t left = request_.bodyLength - bodyRead_;
    if (!client_) return CURL_READFUNC_ABORT;
    if (left == 0) return 0;
    const auto wanted = buffer.first(static_cast<std::size_t>(std::min<std::uint64_t>(buffer.size(), left)));
    const std::int64_t count = request_.body->read(wanted);
    if (count > 0) {
        bodyRead_ += static_cast<std::uint64_t>(count);
        return static_cast<std::size_t>(count);
    }
    const bool ended = count == 0 || !request_.body->hasBytesAvailable();
    remember(HttpStreamFailure::bodyShorterThanAnnounced,
             ended ? "The request body is shorter than announced." : "The request body cannot be read.");
    return CURL_READFUNC_ABORT;
}

bool HttpStream::Exchange::rewindBody()
{
    if (!request_.body) return true;
    if (bodyRead_ > 0 && !request_.body->rewind())
        return remember(HttpStreamFailure::other, "The request body cannot be sent again.");
    bodyRead_ = 0;
    return true;
}

void HttpStream::Exchange::transferDidFinish(int curlCode)
{
    curl_off_t sent = 0;
    if (curl_easy_getinfo(easy_, CURLINFO_SIZE_UPLOAD_T, &sent) == CURLE_OK)
        sentBodyBytes_ = static_cast<std::uint64_t>(sent);
    if (curlCode == CURLE_OK && redirect_) return followRedirect();
    if (connectionWasGone(curlCode)) return sendAgain();

    giveEasyBack();
    if (curlCode == CURLE_OK) return endWithResponse();
    if (ownFailure_) return fail(*ownFailure_);
    if (tunnelling_ && tunnelReader_.isComplete() && tunnelReader_.head().statusCode == 407)
        return endWithTunnelAnswer();
    fail(classifyFailure({curlCode, errorText_.data(), reader_.isComplete(), request_.tls.clientIdentity != nullptr},
                         *tls_));
}

void HttpStream::Exchange::transferWasDropped()
{
    if (easy_) curl_easy_cleanup(std::exchange(easy_, nullptr));
    client_ = nullptr;
}

void HttpStream::Exchange::followRedirect()
{
    request_.url = *std::exchange(redirect_, std::nullopt);
    ++redirects_;
    redirectBody_ = 0;
    restart();
}

/// Whether the other side had given up a kept connection before the whole request was out, so that it cannot have
/// acted on it. libcurl itself sees to the case where the request was out and no answer came.
bool HttpStream::Exchange::connectionWasGone(int curlCode) const
{
    long newConnections = 1;
    curl_easy_getinfo(easy_, CURLINFO_NUM_CONNECTS, &newConnections);
    return curlCode == CURLE_SEND_ERROR && newConnections == 0 && !onNewConnection_ && !ownFailure_ && client_ &&
           !reader_.isComplete();
}

void HttpStream::Exchange::sendAgain()
{
    onNewConnection_ = true;
    restart();
}

void HttpStream::Exchange::restart()
{
    Status started = rewindBody() ? start() : failure("HttpStream", 0, ownFailure_->text);
    if (started) return;
    giveEasyBack();
    fail({HttpStreamFailure::other, 0, started.error().description()});
}

void HttpStream::Exchange::endWithResponse()
{
    if (!reader_.isComplete()) return fail({HttpStreamFailure::other, 0, "The server gave no answer."});
    if (!deliverHead(reader_.head())) return;
    finish([](HttpStreamClient& client) { client.streamDidEnd(); });
}

void HttpStream::Exchange::endWithTunnelAnswer()
{
    HttpResponseHead head = tunnelReader_.head();
    head.refusesTunnel = true;
    if (!deliverHead(head)) return;
    finish([](HttpStreamClient& client) { client.streamDidEnd(); });
}

void HttpStream::Exchange::fail(HttpStreamError error)
{
    finish([&](HttpStreamClient& client) { client.streamDidFail(error); });
}

/// Keeps the first reason for ending the transfer; false for the callback to answer.
bool HttpStream::Exchange::remember(HttpStreamFailure kind, std::string text)
{
    if (!ownFailure_) ownFailure_ = HttpStreamError{kind, 0, std::move(text)};
    return false;
}

void HttpStream::Exchange::finish(const std::function<void(HttpStreamClient&)>& lastEvent)
{
    if (HttpStreamClient* client = std::exchange(client_, nullptr)) lastEvent(*client);
}

} // namespace tidemark
