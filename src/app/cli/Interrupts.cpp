#include "app/cli/Interrupts.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace tidemark::cli {

namespace {

constexpr std::array handledSignals{SIGINT, SIGTERM, SIGHUP};
constexpr char signalByte = 's';
constexpr char hangUpByte = 'h';
constexpr char endByte = 'e';

volatile std::sig_atomic_t pipeForHandler = -1;

extern "C" void reportSignal(int signal)
{
    const int savedError = errno;
    // A full pipe already holds more signals than anybody counts.
    [[maybe_unused]] const auto written = ::write(pipeForHandler, signal == SIGHUP ? &hangUpByte : &signalByte, 1);
    errno = savedError;
}

} // namespace

struct Interrupts::State
{
    int readEnd = -1;
    int writeEnd = -1;
    std::array<struct sigaction, handledSignals.size()> previous{};
    std::function<void()> first;
    std::function<void()> second;
    std::function<bool()> hangUp;
    std::thread thread;

    void openPipe();
    void install();
    void restore();
    void serve();
};

void Interrupts::State::openPipe()
{
    int ends[2];
    if (::pipe(ends) != 0) throw std::system_error(errno, std::generic_category(), "pipe");
    readEnd = ends[0];
    writeEnd = ends[1];
    for (int end : ends)
        ::fcntl(end, F_SETFD, FD_CLOEXEC);
    ::fcntl(writeEnd, F_SETFL, O_NONBLOCK);
    pipeForHandler = writeEnd;
}

void Interrupts::State::install()
{
    struct sigaction action = {};
    action.sa_handler = reportSignal;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    for (std::size_t i = 0; i < handledSignals.size(); ++i) {
        ::sigaction(handledSignals[i], nullptr, &previous[i]);
        // A shell that starts a job in the background, and nohup, have it ignore signals: that stays.
        if (previous[i].sa_handler != SIG_IGN) ::sigaction(handledSignals[i], &action, nullptr);
    }
}

void Interrupts::State::restore()
{
    for (std::size_t i = 0; i < handledSignals.size(); ++i)
        ::sigaction(handledSignals[i], &previous[i], nullptr);
}

void Interrupts::State::serve()
{
    bool seenOne = false;
    char byte = endByte;
    for (;;) {
        const auto got = ::read(readEnd, &byte, 1);
        if (got < 0 && errno == EINTR) continue;
        if (got != 1 || byte == endByte) return;
        if (byte == hangUpByte && !seenOne) {
            seenOne = hangUp();
            continue;
        }
        (seenOne ? second : first)();
        seenOne = true;
    }
}

Interrupts::Interrupts(std::function<void()> first, std::function<void()> second, std::function<bool()> hangUp)
    : state_(std::make_unique<State>())
{
    state_->first = std::move(first);
    state_->second = std::move(second);
    state_->hangUp = std::move(hangUp);
    state_->openPipe();
    state_->install();
    state_->thread = std::thread([state = state_.get()] { state->serve(); });
}

Interrupts::~Interrupts()
{
    state_->restore();
    const auto written = ::write(state_->writeEnd, &endByte, 1);
    if (written != 1) ::close(state_->writeEnd); // a full pipe: the reader ends when it has drained it
    state_->thread.join();
    if (written == 1) ::close(state_->writeEnd);
    ::close(state_->readEnd);
}

} // namespace tidemark::cli
