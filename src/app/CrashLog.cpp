#include "app/CrashLog.h"

#include <cstdlib>
#include <exception>
#include <string>

#include "Logger/BXLogger.h"

namespace tidemark {

namespace {

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

void installCrashLog()
{
    std::set_terminate(crashed);
}

} // namespace tidemark
