#pragma once

#include "devserver/Fault.h"
#include "devserver/Options.h"
#include "devserver/RequestRecord.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace devserver {

// A WebDAV server over a folder, on 127.0.0.1, on threads of its own. It serves from the constructor's return on until
// stop() or destruction. Every operation may be called from any thread.
//
// Dead properties are extended attributes of the files, so that they outlive the server; where the file system has none
// they are kept in memory. A PUT is written beside its target and renamed, so that a broken one leaves the old file.
class Server
{
public:
    // Throws std::runtime_error where it cannot serve (no such folder, port taken, certificate unreadable).
    explicit Server(Options options);
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    std::uint16_t port() const;
    // The URL of the mount, for example "http://127.0.0.1:40001/"; `path` (not escaped, without leading "/") is escaped
    // and added.
    std::string url(std::string_view path = {}) const;
    const Options& options() const;
    // The server's certificate in PEM; empty without TLS.
    std::string certificatePem() const;

    void addFault(Fault fault);
    void clearFaults();
    // How many times a fault has struck since the start.
    std::size_t faultsStruck() const;
    // Waits until that many have; false when the limit passed before.
    bool waitForFaults(std::size_t count, std::chrono::seconds limit = std::chrono::seconds(30)) const;
    // Ends the stalls of the faults that have struck: their connections close.
    void releaseStalls();

    // A copy of the records, oldest first, without the requests to the control endpoint.
    std::vector<RequestRecord> requests() const;
    void clearRequests();
    std::size_t requestCount(std::string_view method) const;
    // Waits until no request is under way; false when the limit passed before.
    bool waitUntilIdle(std::chrono::seconds limit = std::chrono::seconds(30)) const;

    // Connections accepted since the start, and those open.
    std::uint64_t connectionCount() const;
    std::size_t openConnectionCount() const;
    // Closes every connection; new ones are served.
    void closeConnections();

    // The value of a dead property of the resource at `path` below the root; nothing when it has none.
    std::optional<std::string> property(std::string_view path, std::string_view nameSpace, std::string_view name) const;
    void setProperty(std::string_view path, std::string_view nameSpace, std::string_view name, std::string_view value);

    // Closes the port and all connections and waits for the threads. May be called again.
    void stop();

private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace devserver
