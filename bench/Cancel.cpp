// bench_cancel COUNT   stalls COUNT requests in each way a server can stall one, ends each by a cancel from another
// thread, and shows how long the handler took to run after it

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "davclient/ASHttpConnectInfo.h"
#include "davclient/ASWDCmdGet.h"
#include "davclient/ASWDCmdSimple.h"
#include "davclient/ASWDCmdUpload.h"
#include "platform/RunLoop.h"

using namespace tidemark;
using SteadyClock = std::chrono::steady_clock;

namespace {

constexpr double goalMilliseconds = 200;
constexpr auto untilStalled = std::chrono::milliseconds(40);
constexpr std::size_t uploadSize = 32 << 20;

sockaddr_in loopback(int port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    return address;
}

int newSocket(int flags = 0)
{
    return ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | flags, 0);
}

/// Accepts, sends `greeting` and then does nothing more; where it does not accept, nobody gets a connection.
class StallingServer
{
public:
    StallingServer(bool accepts, std::string greeting) : greeting_(std::move(greeting)), listener_(newSocket())
    {
        auto address = loopback(0);
        socklen_t length = sizeof address;
        if (::bind(listener_, reinterpret_cast<sockaddr*>(&address), length) != 0 ||
            ::listen(listener_, accepts ? 64 : 0) != 0 ||
            ::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &length) != 0)
            std::exit(1);
        port_ = ntohs(address.sin_port);
        if (accepts)
            acceptor_ = std::thread([this] { acceptAll(); });
        else
            fillQueue();
    }
    ~StallingServer()
    {
        ::shutdown(listener_, SHUT_RDWR);
        if (acceptor_.joinable()) acceptor_.join();
        for (const int socket : sockets_)
            ::close(socket);
        ::close(listener_);
    }
    StallingServer(const StallingServer&) = delete;
    StallingServer& operator=(const StallingServer&) = delete;

    Url url(const std::string& scheme) const
    {
        return Url::parse(scheme + "://127.0.0.1:" + std::to_string(port_) + "/file").value();
    }

private:
    void acceptAll()
    {
        for (int socket = 0; (socket = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC)) >= 0;) {
            sockets_.push_back(socket);
            ::send(socket, greeting_.data(), greeting_.size(), MSG_NOSIGNAL);
        }
    }
    void fillQueue()
    {
        const auto address = loopback(port_);
        for (int i = 0; i < 4; ++i) {
            sockets_.push_back(newSocket(SOCK_NONBLOCK));
            ::connect(sockets_.back(), reinterpret_cast<const sockaddr*>(&address), sizeof address);
        }
    }

    const std::string greeting_;
    const int listener_;
    int port_ = 0;
    std::vector<int> sockets_; // the acceptor's while it runs
    std::thread acceptor_;
};

/// Milliseconds from a cancel on another thread to the handler; negative where the request did not stall.
double measure(const std::shared_ptr<ASWDCmd>& command)
{
    SteadyClock::time_point cancelled, ended;
    std::atomic<bool> isCancelled = false;
    bool hasEnded = false;
    command->setCompleteEventHandler([&] {
        ended = SteadyClock::now();
        hasEnded = true;
    });
    if (!command->execute()) return -1;
    std::thread canceller([&] {
        std::this_thread::sleep_for(untilStalled);
        cancelled = SteadyClock::now();
        isCancelled = true;
        command->cancel();
    });
    RunLoop::current()->runUntil([&] { return hasEnded; });
    const bool stalled = isCancelled;
    canceller.join();
    return stalled ? std::chrono::duration<double, std::milli>(ended - cancelled).count() : -1;
}

bool report(const char* what, int count, const std::function<std::shared_ptr<ASWDCmd>()>& make)
{
    std::vector<double> times;
    for (int i = 0; i < count; ++i)
        times.push_back(measure(make()));
    std::sort(times.begin(), times.end());
    if (times.front() < 0) {
        std::fprintf(stderr, "cancelled %s: a request did not stall\n", what);
        return false;
    }
    const char* verdict = times.back() <= goalMilliseconds ? "reached" : "MISSED, goal 200 ms";
    std::printf("cancelled %-10s median %7.2f ms   worst of %d %7.2f ms  %s\n", what, times[times.size() / 2], count,
                times.back(), verdict);
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    const int count = argc > 1 ? std::atoi(argv[1]) : 0;
    if (count <= 0) {
        std::fputs("usage: bench_cancel COUNT\n", stderr);
        return 2;
    }
    const auto info = std::make_shared<ASHttpConnectInfo>();
    const StallingServer unreachable(false, "");
    const StallingServer silent(true, "");
    const StallingServer starting(true, "HTTP/1.1 200 OK\r\nContent-Length: 1000000\r\n\r\nthe beginning");
    const std::string body(uploadSize, 'u');
    const auto upload = [&] {
        auto put = std::make_shared<ASWDCmdPut>(silent.url("http"), info);
        put->setRequestBody(body);
        return put;
    };
    const bool measured =
        report("connect", count, [&] { return std::make_shared<ASWDCmdOptions>(unreachable.url("http"), info); }) &&
        report("handshake", count, [&] { return std::make_shared<ASWDCmdOptions>(silent.url("https"), info); }) &&
        report("upload", count, upload) &&
        report("download", count, [&] { return std::make_shared<ASWDCmdGetStream>(starting.url("http"), info); });
    return measured ? 0 : 1;
}
