#include "app/qt/Terminations.h"

#include <cerrno>
#include <csignal>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>

#include <QSocketNotifier>

namespace tidemark::qt {

namespace {

constexpr int handledSignals[] = {SIGINT, SIGTERM};
constexpr int patience = 2;
constexpr int endedBySignal = 128 + SIGTERM;

volatile std::sig_atomic_t socketForHandler = -1;

extern "C" void noteTermination(int)
{
    const int savedError = errno;
    [[maybe_unused]] const auto written = ::write(socketForHandler, "t", 1);
    errno = savedError;
}

} // namespace

Terminations::Terminations(std::function<void()> asked) : asked_(std::move(asked))
{
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends_) != 0)
        throw std::system_error(errno, std::generic_category(), "socketpair");
    socketForHandler = ends_[0];
    notifier_ = new QSocketNotifier(ends_[1], QSocketNotifier::Read, this);
    connect(notifier_, &QSocketNotifier::activated, this, [this] { read(); });
    for (const int number : handledSignals)
        std::signal(number, noteTermination);
}

Terminations::~Terminations()
{
    for (const int number : handledSignals)
        std::signal(number, SIG_DFL);
    for (const int end : ends_)
        ::close(end);
}

void Terminations::read()
{
    char byte = 0;
    while (::read(ends_[1], &byte, 1) == 1)
        ++count_;
    if (count_ > patience) ::_exit(endedBySignal);
    asked_();
}

} // namespace tidemark::qt
