#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/Dates.h"
#include "platform/Result.h"
#include "platform/Streams.h"
#include "platform/Url.h"

namespace tidemark {

/// Header fields in the order they came; names keep their spelling and are compared without regard to case.
class HttpHeader
{
public:
    void add(std::string name, std::string value);
    /// Replaces every field of that name.
    void set(const std::string& name, std::string value);
    void remove(const std::string& name);
    /// Appends to the value of the field added last.
    void extendLast(std::string_view text)
    {
        if (!fields_.empty()) fields_.back().second += text;
    }
    /// The values of all fields of that name.
    std::vector<std::string> values(std::string_view name) const;
    /// Several fields of one name are joined by ", ".
    std::optional<std::string> value(std::string_view name) const;
    bool contains(std::string_view name) const { return value(name).has_value(); }
    const std::vector<std::pair<std::string, std::string>>& fields() const { return fields_; }
    bool empty() const { return fields_.empty(); }

private:
    std::vector<std::pair<std::string, std::string>> fields_;
};

struct HttpResponseHead
{
    int statusCode = 0;
    std::string statusLine;
    HttpHeader header;
    /// The proxy's own refusal of a tunnel; whatever comes through the tunnel is the server's.
    bool refusesTunnel = false;
};

enum class HttpAuthenticationScheme
{
    none,
    basic,
    digest
};

struct HttpCredentials
{
    HttpAuthenticationScheme scheme = HttpAuthenticationScheme::none;
    std::string username;
    std::string password;
};

struct HttpProxy
{
    std::string host;
    int port = 0;
    HttpCredentials credentials;
    /// Http URLs go through a tunnel too; https ones always do.
    bool tunnelsAll = false;
};

/// A client's certificate chain and private key, both PEM.
struct ClientIdentityPem
{
    std::string certificateChain;
    std::string privateKey;
};

struct HttpTls
{
    /// Off: neither chain nor host name is checked.
    bool validatesCertificate = true;
    std::shared_ptr<const ClientIdentityPem> clientIdentity;
    /// PEM file of further trusted roots; empty: the system's only.
    std::string extraTrustFile;
};

/// Outcomes of a failed exchange that callers tell apart.
enum class HttpStreamFailure
{
    other,
    serverCertificateUntrusted,
    clientCertificateMissing,
    clientCertificateRefused,
    bodyShorterThanAnnounced,
    headerTooLarge,
};

/// What a server's certificate says about itself.
struct ServerCertificate
{
    /// "CN=…, O=…", most specific part first.
    std::string subject;
    std::string issuer;
    dates::Time validFrom;
    dates::Time validUntil;
    /// SHA-256 as programs show it: "AB:CD:…".
    std::string fingerprint;
};

struct HttpStreamError
{
    HttpStreamFailure kind = HttpStreamFailure::other;
    /// The library's own code and English text, for logs.
    int code = 0;
    std::string text;
    /// With serverCertificateUntrusted, where the server showed one.
    std::shared_ptr<const ServerCertificate> serverCertificate = nullptr;
};

struct HttpStreamRequest
{
    std::string method;
    Url url;
    HttpHeader header;
    /// The body, or null for none. Opened by the stream.
    std::shared_ptr<InputStream> body;
    std::uint64_t bodyLength = 0;
    HttpCredentials credentials;
    std::optional<HttpProxy> proxy;
    HttpTls tls;
};

/// Connections' authentication state (Digest nonces) that outlives one exchange. One per configuration; any thread.
class HttpSession
{
public:
    HttpSession();
    ~HttpSession();
    HttpSession(const HttpSession&) = delete;
    HttpSession& operator=(const HttpSession&) = delete;

    struct State;
    State& state() { return *state_; }

private:
    std::unique_ptr<State> state_;
};

/// What happens on a stream; called on the thread that opened it, from its RunLoop, never from inside open().
class HttpStreamClient
{
public:
    virtual ~HttpStreamClient() = default;
    /// The head of the answer is complete. Once per exchange, before any byte. Answers that are followed
    /// (redirects inside the origin) and interim answers (1xx) are not reported.
    virtual void streamDidReceiveHead(const HttpResponseHead& head) = 0;
    /// At most 32,768 bytes. False ends the exchange with an error.
    virtual bool streamDidReceiveBytes(std::span<const std::byte> bytes) = 0;
    virtual void streamDidEnd() = 0;
    virtual void streamDidFail(const HttpStreamError& error) = 0;
};

/// One exchange: a request goes out, events come back; ends with exactly one of streamDidEnd and streamDidFail
/// unless it is closed before. Connections are kept by the thread's RunLoop and reused by later streams of the thread.
///
/// Redirects are followed for the same scheme, host and port only, ten at most; any other one is reported as it came.
/// Header fields of an answer are limited to 256 KiB and 1,000 lines in all.
class HttpStream
{
public:
    HttpStream(std::shared_ptr<HttpSession> session, HttpStreamClient& client);
    /// Closes.
    virtual ~HttpStream();
    HttpStream(const HttpStream&) = delete;
    HttpStream& operator=(const HttpStream&) = delete;

    /// Starts the exchange on the calling thread's RunLoop.
    virtual Status open(HttpStreamRequest request);
    /// Ends the exchange without further events and at once, whatever it is waiting for. The opening thread only.
    virtual void close();
    virtual bool isOpen() const;

    /// Bytes of the request body handed to the connection so far. Any thread.
    virtual std::uint64_t sentBodyBytes() const;

private:
    class Exchange;
    std::shared_ptr<Exchange> exchange_;
};

} // namespace tidemark
