#pragma once

#include <string>

namespace tidemark {
class Clock;
}

namespace tidemark::cli {

class Cancellation;
class Console;
class Terminal;

/// The world of a command.
struct CommandContext
{
    Console& console;
    Terminal& terminal;
    Cancellation& cancellation;
    const Clock& clock;
    /// What a relative path on the command line is relative to.
    std::string workingDirectory;
};

} // namespace tidemark::cli
