#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "support/Certificates.h"
#include "support/Process.h"

namespace tidemark::testing {

enum class SignIn
{
    none,
    basic,
    digest
};

struct ApacheTls
{
    CertificateFiles certificate;
    /// As the SSLProtocol directive takes it: "TLSv1.2", "TLSv1.3".
    std::string protocol = "all -SSLv3";
    /// PEM file: a client certificate signed by one of these is demanded. Empty: none is asked for.
    std::string clientAuthority = {};
};

struct ApacheOptions
{
    SignIn signIn = SignIn::none;
    std::string user = "anna";
    std::string password = "open sesame";
    std::optional<ApacheTls> tls = {};
    /// More directives of the server, for example Redirect.
    std::string directives = {};
};

/// One request as the access log has it; fields that the request did not have are empty.
struct ApacheRequest
{
    std::string method;
    std::string target;
    int status = 0;
    /// How many requests its connection had served before.
    int requestsBefore = 0;
    /// Of request line, header and body, after decryption.
    std::uint64_t receivedBytes = 0;
    std::string user;
    std::string authorization;
    std::string cookie;
    std::string via;
    std::string proxyAuthorization;
    std::string clientCertificate;
    std::string tlsProtocol;
};

/// Apache with mod_dav over a folder of its own, on 127.0.0.1; it serves until destruction.
class ApacheServer
{
public:
    explicit ApacheServer(ApacheOptions options = {});
    ApacheServer(const ApacheServer&) = delete;
    ApacheServer& operator=(const ApacheServer&) = delete;

    const ApacheOptions& options() const { return options_; }
    std::uint16_t port() const { return port_; }
    /// `path` is escaped and begins with "/".
    std::string url(std::string_view path = "/", std::string_view host = "127.0.0.1") const;
    /// The folder that is served.
    const std::filesystem::path& root() const { return root_; }
    /// To be called after the test has put folders or files into root(), so that the server may change them.
    void handOver() const { ServerDirectory::handOver(root_); }

    /// Ends it, which forgets connections and nonces, and starts it on the same port.
    void restart();

    /// All requests answered since the last clearRequests(), in the order of their ends.
    std::vector<ApacheRequest> requests() const;
    void clearRequests();

private:
    void start();
    bool startProcess();
    void writePasswords() const;
    std::string configuration() const;
    std::string modules() const;
    std::string signInDirectives() const;
    std::string tlsDirectives() const;
    /// Until no request is in the server's hands: an answer may arrive before its line is in the log.
    void waitUntilIdle() const;

    ApacheOptions options_;
    ServerDirectory directory_;
    std::filesystem::path root_;
    std::uint16_t port_ = 0;
    std::uint16_t statusPort_ = 0;
    std::size_t readLog_ = 0;
    std::unique_ptr<ServerProcess> process_;
};

/// For messages: one line a request.
std::ostream& operator<<(std::ostream& stream, const ApacheRequest& request);

std::size_t countMethod(const std::vector<ApacheRequest>& requests, std::string_view method);
std::size_t countStatus(const std::vector<ApacheRequest>& requests, int status);
/// Each connection has one first request.
std::size_t countConnections(const std::vector<ApacheRequest>& requests);

} // namespace tidemark::testing
