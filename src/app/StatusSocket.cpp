#include "app/StatusSocket.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <thread>
#include <utility>

#include "platform/Digest.h"
#include "platform/FileSystem.h"
#include "platform/Places.h"

namespace tidemark {

namespace {

constexpr std::size_t largestStatus = 16 * 1024 * 1024;
constexpr int answerTimeoutSeconds = 5;

/// Closes what it holds.
class Descriptor
{
public:
    explicit Descriptor(int value = -1) : value_(value) {}
    Descriptor(Descriptor&& other) noexcept : value_(std::exchange(other.value_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        std::swap(value_, other.value_);
        return *this;
    }
    ~Descriptor()
    {
        if (value_ >= 0) ::close(value_);
    }
    int get() const { return value_; }
    explicit operator bool() const { return value_ >= 0; }

private:
    int value_;
};

Result<sockaddr_un> addressOf(const std::string& path)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) return posixFailure(ENAMETOOLONG, path);
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    return address;
}

const sockaddr* generic(const sockaddr_un& address)
{
    return reinterpret_cast<const sockaddr*>(&address);
}

Descriptor makeSocket()
{
    return Descriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
}

Result<Descriptor> listenAt(const std::string& path)
{
    const auto address = addressOf(path);
    if (!address) return failure(address.error());
    Descriptor socket = makeSocket();
    ::unlink(path.c_str());
    const auto previousMask = ::umask(0177);
    const int bound = ::bind(socket.get(), generic(*address), sizeof *address);
    const int error = errno;
    ::umask(previousMask);
    if (bound != 0) return posixFailure(error, path);
    constexpr int backlog = 8;
    if (::listen(socket.get(), backlog) != 0) return posixFailure(errno, path);
    return socket;
}

/// A client that does not read is given up on.
void answer(const Descriptor& client, std::string_view text)
{
    const timeval limit{answerTimeoutSeconds, 0};
    ::setsockopt(client.get(), SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
    while (!text.empty()) {
        const auto sent = ::send(client.get(), text.data(), text.size(), MSG_NOSIGNAL);
        if (sent <= 0) return;
        text.remove_prefix(static_cast<std::size_t>(sent));
    }
}

} // namespace

struct StatusServer::State
{
    std::string path;
    std::function<std::string()> text;
    Descriptor listening;
    Descriptor stopRead;
    Descriptor stopWrite;
    std::thread thread;

    void serve() const;
};

void StatusServer::State::serve() const
{
    std::array<pollfd, 2> wanted{pollfd{listening.get(), POLLIN, 0}, pollfd{stopRead.get(), POLLIN, 0}};
    for (;;) {
        if (::poll(wanted.data(), wanted.size(), -1) < 0 && errno != EINTR) return;
        if (wanted[1].revents != 0) return;
        if ((wanted[0].revents & POLLIN) == 0) continue;
        const Descriptor client(::accept4(listening.get(), nullptr, nullptr, SOCK_CLOEXEC));
        if (client) answer(client, text());
    }
}

std::string statusSocketPath(const std::string& configurationDirectory)
{
    constexpr std::size_t distinguishing = 16;
    const auto digest = hexLower(sha256(configurationDirectory));
    return fs::joinPath(Places::runtimeDirectory(), "status-" + digest.substr(0, distinguishing));
}

Result<std::unique_ptr<StatusServer>> StatusServer::start(const std::string& path, std::function<std::string()> text)
{
    if (auto made = fs::createFolders(fs::parentPath(path), 0700); !made) return failure(made.error());
    auto listening = listenAt(path);
    if (!listening) return failure(listening.error());
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) return posixFailure(errno, "pipe");
    auto state = std::make_unique<State>();
    state->path = path;
    state->text = std::move(text);
    state->listening = std::move(*listening);
    state->stopRead = Descriptor(ends[0]);
    state->stopWrite = Descriptor(ends[1]);
    state->thread = std::thread([serving = state.get()] { serving->serve(); });
    return std::unique_ptr<StatusServer>(new StatusServer(std::move(state)));
}

StatusServer::StatusServer(std::unique_ptr<State> state) : state_(std::move(state)) {}

StatusServer::~StatusServer()
{
    ::unlink(state_->path.c_str());
    state_->stopWrite = Descriptor();
    state_->thread.join();
}

Result<std::string> readStatus(const std::string& path)
{
    const auto address = addressOf(path);
    if (!address) return failure(address.error());
    const Descriptor socket = makeSocket();
    const timeval limit{answerTimeoutSeconds, 0};
    ::setsockopt(socket.get(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    if (::connect(socket.get(), generic(*address), sizeof *address) != 0) return posixFailure(errno, path);
    std::string text;
    std::array<char, 4096> piece{};
    for (;;) {
        const auto got = ::recv(socket.get(), piece.data(), piece.size(), 0);
        if (got < 0) return posixFailure(errno, path);
        if (got == 0) return text;
        text.append(piece.data(), static_cast<std::size_t>(got));
        if (text.size() > largestStatus) return posixFailure(EMSGSIZE, path);
    }
}

} // namespace tidemark
