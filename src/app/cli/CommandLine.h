#pragma once

#include <string>
#include <variant>
#include <vector>

#include "app/cli/Commands.h"
#include "app/cli/ExitStatus.h"

namespace tidemark::cli {

struct ParsedCommandLine
{
    GlobalOptions global;
    Command command;
};

/// A command line that asks for no command: help, the version, or wrong usage.
struct CommandLineAnswer
{
    ExitStatus status = ExitStatus::done;
    /// Help and version for standard output.
    std::string output;
    /// What is wrong, for standard error.
    std::string message;
};

/// `arguments` without the program's name. Looks at nothing but the arguments.
std::variant<ParsedCommandLine, CommandLineAnswer> parseCommandLine(std::vector<std::string> arguments);

} // namespace tidemark::cli
