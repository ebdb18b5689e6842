#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "support/ApacheServer.h"
#include "support/Process.h"

namespace tidemark::testing {

struct ProxyOptions
{
    SignIn signIn = SignIn::none;
    std::string user = "paul";
    std::string password = "let me out";
};

/// One request as a proxy's log has it: a tunnel is one CONNECT.
struct ProxyRequest
{
    std::string method;
    std::string target;
    int status = 0;
    std::string user;
};

/// Squid, on 127.0.0.1, without a cache.
class SquidProxy
{
public:
    explicit SquidProxy(ProxyOptions options = {});
    /// Without the grace of two seconds that it takes for a proper end.
    ~SquidProxy();
    SquidProxy(const SquidProxy&) = delete;
    SquidProxy& operator=(const SquidProxy&) = delete;

    const ProxyOptions& options() const { return options_; }
    std::uint16_t port() const { return port_; }
    /// Ends the proxy: its log is whole only then.
    std::vector<ProxyRequest> stopAndListRequests();

private:
    std::string configuration() const;
    std::string signInDirectives() const;

    ProxyOptions options_;
    ServerDirectory directory_;
    std::uint16_t port_ = 0;
    std::unique_ptr<ServerProcess> process_;
};

/// Tinyproxy, on 127.0.0.1; it knows Basic only, and passwords without blanks.
class TinyProxy
{
public:
    explicit TinyProxy(ProxyOptions options = {});

    const ProxyOptions& options() const { return options_; }
    std::uint16_t port() const { return port_; }

private:
    std::string configuration() const;

    ProxyOptions options_;
    ServerDirectory directory_;
    std::uint16_t port_ = 0;
    std::unique_ptr<ServerProcess> process_;
};

} // namespace tidemark::testing
