#include "app/cli/ExitStatus.h"

#include <algorithm>

namespace tidemark::cli {

ExitStatus graver(ExitStatus a, ExitStatus b)
{
    return std::max(a, b);
}

std::string_view statusWord(ExitStatus status)
{
    switch (status) {
    case ExitStatus::done:
        return "done";
    case ExitStatus::itemsFailed:
        return "items-failed";
    case ExitStatus::usage:
        return "usage";
    case ExitStatus::configuration:
        return "invalid-configuration";
    case ExitStatus::connection:
        return "no-connection";
    case ExitStatus::listing:
        return "listing-failed";
    case ExitStatus::cancelled:
        return "cancelled";
    case ExitStatus::busy:
        return "busy";
    }
    return "";
}

} // namespace tidemark::cli
