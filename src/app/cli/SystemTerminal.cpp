#include "app/cli/Terminal.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <mutex>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include "app/cli/Cancellation.h"

namespace tidemark::cli {

namespace {

constexpr std::size_t longestLine = 4096;
constexpr std::size_t usualColumns = 80;

/// The terminal's settings from before the echo was switched off.
struct SavedEcho
{
    std::mutex mutex; // guards the two below
    bool isOff = false;
    termios settings{};
};

SavedEcho& savedEcho()
{
    static SavedEcho saved;
    return saved;
}

void switchEchoOff()
{
    auto& saved = savedEcho();
    std::lock_guard lock(saved.mutex);
    if (saved.isOff || ::tcgetattr(STDIN_FILENO, &saved.settings) != 0) return;
    termios silent = saved.settings;
    silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    saved.isOff = ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &silent) == 0;
}

bool isSet(const char* variable)
{
    const char* value = std::getenv(variable);
    return value && *value;
}

/// Readable input, a cancellation, or neither.
enum class InputWait
{
    readable,
    cancelled,
    elapsed
};

InputWait waitForInput(const Cancellation& cancellation, int timeoutMilliseconds)
{
    std::array<pollfd, 2> waited{pollfd{cancellation.descriptor(), POLLIN, 0}, pollfd{STDIN_FILENO, POLLIN, 0}};
    int ready = 0;
    do
        ready = ::poll(waited.data(), waited.size(), timeoutMilliseconds);
    while (ready < 0 && errno == EINTR);
    if (ready < 0 || waited[0].revents) return InputWait::cancelled;
    return ready == 0 ? InputWait::elapsed : InputWait::readable;
}

std::optional<std::string> takeLine(std::string& pending, bool atEnd)
{
    const auto end = pending.find('\n');
    if (end == std::string::npos && !(atEnd && !pending.empty()) && pending.size() < longestLine) return std::nullopt;
    std::string line = pending.substr(0, end);
    pending.erase(0, end == std::string::npos ? end : end + 1);
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return line;
}

} // namespace

bool SystemTerminal::isInteractive() const
{
    return ::isatty(STDIN_FILENO) && ::isatty(STDERR_FILENO);
}

bool SystemTerminal::showsProgress() const
{
    const char* kind = std::getenv("TERM");
    return ::isatty(STDERR_FILENO) && kind && std::strcmp(kind, "dumb") != 0;
}

bool SystemTerminal::showsColours() const
{
    return showsProgress() && !isSet("NO_COLOR");
}

std::size_t SystemTerminal::columns() const
{
    winsize size{};
    return ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : usualColumns;
}

std::optional<std::string> SystemTerminal::readLine()
{
    std::array<char, 512> block{};
    for (;;) {
        if (auto line = takeLine(pending_, atEnd_)) return line;
        if (atEnd_ || waitForInput(cancellation_, -1) == InputWait::cancelled) return std::nullopt;
        const auto got = ::read(STDIN_FILENO, block.data(), block.size());
        if (got > 0)
            pending_.append(block.data(), static_cast<std::size_t>(got));
        else if (got == 0 || errno != EINTR)
            atEnd_ = true;
    }
}

std::optional<std::string> SystemTerminal::readSecret(const std::function<void()>& showPrompt)
{
    switchEchoOff();
    showPrompt();
    auto secret = readLine();
    restoreEcho();
    return secret;
}

Terminal::Wait SystemTerminal::waitForReturn(std::chrono::milliseconds limit)
{
    if (!atEnd_) {
        switch (waitForInput(
            cancellation_, static_cast<int>(std::min<std::int64_t>(limit.count(), std::numeric_limits<int>::max())))) {
        case InputWait::cancelled:
            return Wait::cancelled;
        case InputWait::elapsed:
            return Wait::elapsed;
        case InputWait::readable:
            if (readLine()) return Wait::answered;
        }
    }
    return cancellation_.waitFor(limit) ? Wait::cancelled : Wait::elapsed;
}

void SystemTerminal::restoreEcho()
{
    auto& saved = savedEcho();
    std::lock_guard lock(saved.mutex);
    if (!saved.isOff) return;
    ::tcsetattr(STDIN_FILENO, TCSANOW, &saved.settings);
    saved.isOff = false;
}

} // namespace tidemark::cli
