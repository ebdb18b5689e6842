#pragma once

#include "app/ConfigurationInput.h"
#include "app/cli/Commands.h"

namespace tidemark::cli {

class Console;
class Terminal;

/// The first line of what `options` name as the password's source, which is not none. Nothing that it returns or shows
/// holds the password but the result itself.
Checked<std::string> passwordFromSource(const ConfigurationOptions& options, Terminal& terminal);

/// A line of standard input that holds `what`; not shown where it is typed.
Checked<std::string> secretFromInput(Terminal& terminal, const std::string& what);

/// Asks on the terminal without showing what is typed; nothing where the input ends or the run is cancelled.
std::optional<std::string> askSecret(Console& console, Terminal& terminal, const std::string& question);

/// Asks on the terminal.
std::optional<std::string> askLine(Console& console, Terminal& terminal, const std::string& question);

} // namespace tidemark::cli
