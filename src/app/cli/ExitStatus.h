#pragma once

#include <string_view>

namespace tidemark::cli {

/// What the program's exit status says. Where the configurations of one call end differently, the call ends with the
/// gravest one: the greater number.
enum class ExitStatus
{
    done = 0,
    itemsFailed = 1,
    usage = 2,
    configuration = 3,
    connection = 4,
    listing = 5,
    cancelled = 6,
    busy = 7,
};

ExitStatus graver(ExitStatus a, ExitStatus b);

/// The word of the JSON output's "status".
std::string_view statusWord(ExitStatus status);

} // namespace tidemark::cli
