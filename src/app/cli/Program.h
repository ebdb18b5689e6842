#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "app/cli/ExitStatus.h"

namespace tidemark {
class Clock;
}

namespace tidemark::cli {

class Cancellation;
class Terminal;

/// What the program is given by the process it runs in.
struct ProgramWorld
{
    std::ostream& data;
    std::ostream& messages;
    Terminal& terminal;
    Cancellation& cancellation;
    const Clock& clock;
};

/// The whole program: reads the command line, sets up the engine and runs the command. `arguments` without the
/// program's name. The calling thread is the main thread.
ExitStatus runProgram(std::vector<std::string> arguments, ProgramWorld& world);

} // namespace tidemark::cli
