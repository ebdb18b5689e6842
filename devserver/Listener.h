#pragma once

#include "devserver/Options.h"
#include "devserver/Transport.h"

#include <cstdint>
#include <memory>
#include <string>

namespace devserver {

// The listening socket on 127.0.0.1 with what TLS needs.
class Listener
{
public:
    // Throws std::runtime_error where the port is taken or the certificate unusable.
    explicit Listener(const Options& options);
    ~Listener();

    std::uint16_t port() const;
    const std::string& certificatePem() const;
    // The next connection, before any handshake; nothing after stop(). Connections must not outlive the listener.
    std::unique_ptr<Transport> accept();
    // From any thread; ends an accept() under way.
    void stop();

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace devserver
