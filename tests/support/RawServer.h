#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace tidemark::testing {

/// A server on a free loopback port that shows requests byte by byte and answers with whatever bytes a test wants.
class RawServer
{
public:
    struct Request
    {
        /// From the request line to the empty line, which is included.
        std::string head;
        std::string body;
        /// Counts connections from 0.
        int connection = 0;

        /// "" where the field is missing.
        std::string field(const std::string& name) const;
        std::string requestLine() const { return head.substr(0, head.find("\r\n")); }
    };

    struct Answer
    {
        std::string bytes;
        bool closes = false;
        /// What follows, piece by piece until an empty one; called on the connection's thread while the client reads.
        std::function<std::string()> more = {};
    };

    /// Called for each request on the thread of its connection.
    using Handler = std::function<Answer(const Request&)>;

    /// `onActivity` is called on a thread of the server after each connection and each request that it counts.
    explicit RawServer(Handler handler, std::function<void()> onActivity = {});
    ~RawServer();
    RawServer(const RawServer&) = delete;
    RawServer& operator=(const RawServer&) = delete;

    int port() const { return port_; }
    std::string url(const std::string& path = "/") const;
    std::vector<Request> requests() const;
    int connections() const;

    /// Request bodies are read only as far as permitBodyBytes() has allowed.
    void limitBodyReading();
    void permitBodyBytes(std::size_t bytes);
    /// Connections up to that number end without an answer when a request with a body comes in on them.
    void hangUpOnBodies(int lastConnection);

private:
    void acceptConnections();
    void serve(int socket, int connection);
    bool hangsUpOnBody(int connection) const;
    bool readBody(int socket, std::string& buffer, std::size_t length);
    std::size_t awaitPermit(std::size_t wanted);
    void giveBack(std::size_t unused);

    Handler handler_;
    std::function<void()> onActivity_;
    int port_ = 0;
    int listener_ = -1;
    mutable std::mutex mutex_; // guards all below
    std::condition_variable changed_;
    std::vector<int> sockets_;
    std::vector<std::thread> servers_;
    std::vector<Request> requests_;
    bool limited_ = false;
    int lastHungUp_ = -1;
    bool stopping_ = false;
    std::size_t permitted_ = 0;
    std::thread acceptor_;
};

/// An HTTP/1.1 answer with its Content-Length; `fields` are whole lines with their ends.
std::string httpAnswer(int status, const std::string& body = {}, const std::string& fields = {});

/// A listening socket whose queue is full: connecting to it never ends.
class FullListener
{
public:
    FullListener();
    ~FullListener();
    int port() const { return port_; }

private:
    int port_ = 0;
    int listener_ = -1;
    std::vector<int> fillers_;
};

} // namespace tidemark::testing
