#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/Result.h"

namespace tidemark {

/// Where a service of the configuration directory answers: a socket of mode 0600 in the runtime directory, named after
/// the configuration directory.
std::string statusSocketPath(const std::string& configurationDirectory);

/// Answers everybody who connects with one text, on a thread of its own.
class StatusServer
{
public:
    /// `text` is called on the server's thread, once per connection. A socket file left by a dead service is replaced.
    static Result<std::unique_ptr<StatusServer>> start(const std::string& path, std::function<std::string()> text);
    /// Takes the socket file away.
    ~StatusServer();
    StatusServer(const StatusServer&) = delete;
    StatusServer& operator=(const StatusServer&) = delete;

private:
    struct State;
    explicit StatusServer(std::unique_ptr<State> state);
    std::unique_ptr<State> state_;
};

/// The text of the service that answers at `path`; fails (domain "POSIX") where there is none.
Result<std::string> readStatus(const std::string& path);

} // namespace tidemark
