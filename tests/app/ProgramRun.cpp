#include "tests/app/ProgramRun.h"

#include <array>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <poll.h>
#include <pty.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace tidemark::cli::testing {

namespace {

constexpr int patienceMilliseconds = 60'000;

struct Pipe
{
    Pipe()
    {
        int ends[2];
        if (::pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("pipe");
        readEnd = ends[0];
        writeEnd = ends[1];
    }
    int readEnd;
    int writeEnd;
};

std::vector<char*> pointers(std::vector<std::string>& texts)
{
    std::vector<char*> result;
    for (auto& text : texts)
        result.push_back(text.data());
    result.push_back(nullptr);
    return result;
}

/// False at the end.
bool drain(int& descriptor, std::string& into)
{
    std::array<char, 4096> block{};
    const auto got = ::read(descriptor, block.data(), block.size());
    if (got > 0) {
        into.append(block.data(), static_cast<std::size_t>(got));
        return true;
    }
    ::close(descriptor);
    descriptor = -1;
    return false;
}

} // namespace

ProgramRun::ProgramRun(std::vector<std::string> arguments, const std::string& home, const std::string& input,
                       Connection connection)
{
    arguments.insert(arguments.begin(), TIDEMARK_PROGRAM);
    std::vector<std::string> environment{"HOME=" + home, "TERM=xterm", "PATH=/usr/bin:/bin"};
    for (const char* name : {"ASAN_OPTIONS", "TSAN_OPTIONS", "UBSAN_OPTIONS", "LSAN_OPTIONS"})
        if (const char* value = ::getenv(name)) environment.push_back(std::string(name) + "=" + value);
    if (connection == Connection::terminal)
        startOnTerminal(pointers(arguments), pointers(environment));
    else
        startWithPipes(pointers(arguments), pointers(environment), input);
}

ProgramRun::~ProgramRun()
{
    if (pid_ > 0) {
        ::kill(pid_, SIGKILL);
        ::waitpid(pid_, nullptr, 0);
    }
    for (int descriptor : {input_, outputEnd_, messagesEnd_})
        if (descriptor >= 0) ::close(descriptor);
}

void ProgramRun::startWithPipes(std::vector<char*> arguments, std::vector<char*> environment, const std::string& input)
{
    const Pipe in;
    const Pipe out;
    const Pipe err;
    pid_ = ::fork();
    if (pid_ == 0) {
        ::dup2(in.readEnd, STDIN_FILENO);
        ::dup2(out.writeEnd, STDOUT_FILENO);
        ::dup2(err.writeEnd, STDERR_FILENO);
        ::execve(arguments[0], arguments.data(), environment.data());
        ::_exit(127);
    }
    if (::write(in.writeEnd, input.data(), input.size()) != static_cast<ssize_t>(input.size()))
        throw std::runtime_error("write");
    for (int descriptor : {in.readEnd, in.writeEnd, out.writeEnd, err.writeEnd})
        ::close(descriptor);
    outputEnd_ = out.readEnd;
    messagesEnd_ = err.readEnd;
}

void ProgramRun::startOnTerminal(std::vector<char*> arguments, std::vector<char*> environment)
{
    winsize size{};
    size.ws_col = 100;
    size.ws_row = 30;
    pid_ = ::forkpty(&outputEnd_, nullptr, nullptr, &size);
    if (pid_ == 0) {
        ::execve(arguments[0], arguments.data(), environment.data());
        ::_exit(127);
    }
    input_ = ::dup(outputEnd_);
}

bool ProgramRun::readSome()
{
    std::array<pollfd, 2> waited{pollfd{outputEnd_, POLLIN, 0}, pollfd{messagesEnd_, POLLIN, 0}};
    if ((outputEnd_ < 0 && messagesEnd_ < 0) || ::poll(waited.data(), waited.size(), patienceMilliseconds) <= 0)
        return false;
    if (waited[0].revents) drain(outputEnd_, output_);
    if (waited[1].revents) drain(messagesEnd_, messages_);
    return true;
}

bool ProgramRun::waitFor(const std::string& text)
{
    return waitUntil(
        [&] { return output_.find(text) != std::string::npos || messages_.find(text) != std::string::npos; });
}

bool ProgramRun::waitUntil(const std::function<bool()>& condition)
{
    while (!condition())
        if (!readSome()) return false;
    return true;
}

void ProgramRun::type(const std::string& text)
{
    if (::write(input_, text.data(), text.size()) != static_cast<ssize_t>(text.size()))
        throw std::runtime_error("write");
}

void ProgramRun::signal(int number)
{
    ::kill(pid_, number);
}

int ProgramRun::finish()
{
    while (readSome()) {
    }
    if (outputEnd_ >= 0 || messagesEnd_ >= 0) ::kill(pid_, SIGKILL);
    int status = 0;
    ::waitpid(pid_, &status, 0);
    pid_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string ProgramRun::visibleCommandLine() const
{
    std::ifstream file("/proc/" + std::to_string(pid_) + "/cmdline", std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace tidemark::cli::testing
