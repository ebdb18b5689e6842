#include "support/RawServer.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <utility>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <strings.h>
#include <sys/socket.h>
#include <unistd.h>

namespace tidemark::testing {

namespace {

int listenOnLoopback(int backlog, int& port)
{
    const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    if (::bind(listener, generic, length) != 0 || ::listen(listener, backlog) != 0 ||
        ::getsockname(listener, generic, &length) != 0)
        throw std::runtime_error("no loopback port");
    port = ntohs(address.sin_port);
    return listener;
}

bool receiveInto(int socket, std::string& buffer, std::size_t atMost)
{
    std::array<char, 65536> piece;
    const ssize_t count = ::recv(socket, piece.data(), std::min(piece.size(), atMost), 0);
    if (count > 0) buffer.append(piece.data(), static_cast<std::size_t>(count));
    return count > 0;
}

/// Ends a connection as the system does for a program that has ended with unread bytes.
void reset(int socket)
{
    sockaddr nowhere{};
    nowhere.sa_family = AF_UNSPEC;
    ::connect(socket, &nowhere, sizeof nowhere);
}

bool sendAll(int socket, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t count = ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count <= 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

bool sendMore(int socket, const RawServer::Answer& answer)
{
    if (!answer.more) return true;
    for (std::string piece = answer.more(); !piece.empty(); piece = answer.more())
        if (!sendAll(socket, piece)) return false;
    return true;
}

} // namespace

std::string RawServer::Request::field(const std::string& name) const
{
    for (std::size_t line = head.find("\r\n"); line != std::string::npos; line = head.find("\r\n", line + 2)) {
        const std::size_t begin = line + 2;
        if (strncasecmp(head.c_str() + begin, (name + ":").c_str(), name.size() + 1) != 0) continue;
        const std::size_t end = head.find("\r\n", begin);
        const std::size_t value = head.find_first_not_of(' ', begin + name.size() + 1);
        return head.substr(value, end - value);
    }
    return {};
}

RawServer::RawServer(Handler handler, std::function<void()> onActivity)
    : handler_(std::move(handler)), onActivity_(onActivity ? std::move(onActivity) : [] {}),
      listener_(listenOnLoopback(64, port_))
{
    acceptor_ = std::thread([this] { acceptConnections(); });
}

RawServer::~RawServer()
{
    {
        std::lock_guard lock(mutex_);
        stopping_ = true;
        for (const int socket : sockets_)
            ::shutdown(socket, SHUT_RDWR);
    }
    changed_.notify_all();
    ::shutdown(listener_, SHUT_RDWR);
    acceptor_.join();
    for (auto& server : servers_)
        server.join();
    for (const int socket : sockets_)
        ::close(socket);
    ::close(listener_);
}

std::string RawServer::url(const std::string& path) const
{
    return "http://127.0.0.1:" + std::to_string(port_) + path;
}

std::vector<RawServer::Request> RawServer::requests() const
{
    std::lock_guard lock(mutex_);
    return requests_;
}

int RawServer::connections() const
{
    std::lock_guard lock(mutex_);
    return static_cast<int>(sockets_.size());
}

void RawServer::limitBodyReading()
{
    std::lock_guard lock(mutex_);
    limited_ = true;
}

void RawServer::permitBodyBytes(std::size_t bytes)
{
    std::lock_guard lock(mutex_);
    permitted_ += bytes;
    changed_.notify_all();
}

void RawServer::hangUpOnBodies(int lastConnection)
{
    std::lock_guard lock(mutex_);
    lastHungUp_ = lastConnection;
}

bool RawServer::hangsUpOnBody(int connection) const
{
    std::lock_guard lock(mutex_);
    return connection <= lastHungUp_;
}

void RawServer::acceptConnections()
{
    for (;;) {
        const int socket = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        std::lock_guard lock(mutex_);
        if (socket < 0 || stopping_) {
            if (socket >= 0) ::close(socket);
            return;
        }
        const int connection = static_cast<int>(sockets_.size());
        sockets_.push_back(socket);
        servers_.emplace_back([this, socket, connection] { serve(socket, connection); });
        onActivity_();
    }
}

void RawServer::serve(int socket, int connection)
{
    std::string buffer;
    for (;;) {
        std::size_t end = buffer.find("\r\n\r\n");
        while (end == std::string::npos) {
            if (!receiveInto(socket, buffer, 65536)) return;
            end = buffer.find("\r\n\r\n");
        }
        Request request{buffer.substr(0, end + 4), {}, connection};
        buffer.erase(0, end + 4);
        const std::string length = request.field("Content-Length");
        if (!length.empty() && length != "0" && hangsUpOnBody(connection)) {
            reset(socket);
            return;
        }
        if (!readBody(socket, buffer, length.empty() ? 0 : std::stoul(length))) return;
        request.body = std::exchange(buffer, {});
        {
            std::lock_guard lock(mutex_);
            requests_.push_back(request);
        }
        onActivity_();
        const Answer answer = handler_(request);
        if (!sendAll(socket, answer.bytes) || !sendMore(socket, answer)) return;
        if (answer.closes) {
            ::shutdown(socket, SHUT_RDWR);
            return;
        }
    }
}

bool RawServer::readBody(int socket, std::string& buffer, std::size_t length)
{
    while (buffer.size() < length) {
        const std::size_t before = buffer.size();
        const std::size_t wanted = awaitPermit(length - before);
        if (wanted == 0 || !receiveInto(socket, buffer, wanted)) return false;
        giveBack(wanted - (buffer.size() - before));
    }
    return true;
}

std::size_t RawServer::awaitPermit(std::size_t wanted)
{
    std::unique_lock lock(mutex_);
    if (!limited_) return wanted;
    changed_.wait(lock, [&] { return permitted_ > 0 || stopping_; });
    const std::size_t given = std::min({wanted, permitted_, std::size_t(65536)});
    permitted_ -= given;
    return stopping_ ? 0 : given;
}

void RawServer::giveBack(std::size_t unused)
{
    std::lock_guard lock(mutex_);
    if (limited_) permitted_ += unused;
}

std::string httpAnswer(int status, const std::string& body, const std::string& fields)
{
    return "HTTP/1.1 " + std::to_string(status) + " Text\r\n" + fields +
           "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

FullListener::FullListener() : listener_(listenOnLoopback(0, port_))
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(port_));
    for (int i = 0; i < 4; ++i) {
        fillers_.push_back(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
        ::connect(fillers_.back(), reinterpret_cast<sockaddr*>(&address), sizeof address);
    }
}

FullListener::~FullListener()
{
    for (const int filler : fillers_)
        ::close(filler);
    ::close(listener_);
}

} // namespace tidemark::testing
