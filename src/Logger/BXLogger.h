#pragma once

#include <exception>
#include <memory>
#include <optional>
#include <source_location>
#include <string>
#include <string_view>

#include "Logger/LogFacade.h"

namespace tidemark {

class BXFileLogger;

/// The registry of logging facades, by "default" or by the path of a log file, and the global log (the system log
/// until set). Any thread.
class BXLogger
{
public:
    /// Keeps the facade it is made with, for code that hands a logger on.
    explicit BXLogger(std::shared_ptr<LogFacade> logger) : logger_(std::move(logger)) {}
    const std::shared_ptr<LogFacade>& logger() const { return logger_; }

    /// The facade of the file `name` in `folder`, or the "default" one (system log) without a folder. A facade that
    /// exists is returned as it is: another `maxFiles` does not change it. Never null; a folder that cannot be written
    /// costs one error line in the global log and the lines meant for it.
    static std::shared_ptr<LogFacade> getLogger(const std::string& folder = {}, const std::string& name = {},
                                                std::optional<int> maxFiles = {}, const Clock& clock = Clock::system());
    static std::shared_ptr<BXFileLogger> createFileLogger(const std::string& path, std::optional<int> maxLogFiles = {},
                                                          const Clock& clock = Clock::system());

    /// Sends the global log to a daily file, or to the system log.
    static void setGlobalLogger(const std::optional<std::string>& path);
    /// The trace is a second line. Written out before it returns.
    static void globalError(std::string_view text, const std::optional<std::string>& stackTrace = {},
                            std::source_location where = std::source_location::current());
    /// The exception's description and the calling thread's stack.
    static void globalErrorException(const std::exception& exception,
                                     std::source_location where = std::source_location::current());
    /// The calling thread's stack, one text.
    static std::string callStack();
    /// Debug messages of the global log are discarded.
    static void globalDebug(std::string_view, const std::optional<std::string>& = {}) {}

    /// Hands everything logged so far to the system.
    static void flushAll();

private:
    std::shared_ptr<LogFacade> logger_;
};

} // namespace tidemark
