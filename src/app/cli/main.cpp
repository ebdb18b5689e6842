#include <csignal>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <string>
#include <unistd.h>

#include "Logger/BXLogger.h"
#include "app/cli/Cancellation.h"
#include "app/cli/Interrupts.h"
#include "app/cli/Program.h"
#include "app/cli/Terminal.h"
#include "platform/Clock.h"
#include "platform/MainThread.h"

using namespace tidemark;

namespace {

[[noreturn]] void endAtOnce()
{
    cli::SystemTerminal::restoreEcho();
    ::_exit(static_cast<int>(cli::ExitStatus::cancelled));
}

/// The last words of a process that an exception nobody caught ends.
[[noreturn]] void crashed()
{
    std::string what = "unknown";
    try {
        if (const auto current = std::current_exception()) std::rethrow_exception(current);
    } catch (const std::exception& exception) {
        what = exception.what();
    } catch (...) {
        // Not ours: there is nothing to say about it.
    }
    BXLogger::globalError("CRASH: " + what);
    BXLogger::globalError("Stack Trace: " + BXLogger::callStack());
    std::abort();
}

} // namespace

int main(int argc, char** argv)
{
    std::set_terminate(crashed);
    // A reader that has gone away is a failed write, not the end of the run.
    std::signal(SIGPIPE, SIG_IGN);
    MainThread::adopt();
    cli::Cancellation cancellation;
    const cli::Interrupts interrupts([&] { cancellation.request(); }, endAtOnce, [&] { return cancellation.hangUp(); });
    cli::SystemTerminal terminal(cancellation);
    cli::ProgramWorld world{std::cout, std::cerr, terminal, cancellation, Clock::system()};
    return static_cast<int>(cli::runProgram({argv + 1, argv + argc}, world));
}
