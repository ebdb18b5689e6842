#include <csignal>
#include <iostream>
#include <unistd.h>

#include "app/CrashLog.h"
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

} // namespace

int main(int argc, char** argv)
{
    installCrashLog();
    // A reader that has gone away is a failed write, not the end of the run.
    std::signal(SIGPIPE, SIG_IGN);
    MainThread::adopt();
    cli::Cancellation cancellation;
    const cli::Interrupts interrupts([&] { cancellation.request(); }, endAtOnce, [&] { return cancellation.hangUp(); });
    cli::SystemTerminal terminal(cancellation);
    cli::ProgramWorld world{std::cout, std::cerr, terminal, cancellation, Clock::system()};
    return static_cast<int>(cli::runProgram({argv + 1, argv + argc}, world));
}
