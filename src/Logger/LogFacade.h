#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <source_location>
#include <string>
#include <string_view>
#include <type_traits>

#include <spdlog/fmt/fmt.h>

#include "platform/Clock.h"

namespace spdlog {
class logger;
} // namespace spdlog

namespace tidemark {

enum class LogLevel : unsigned
{
    error = 1,
    warning = 2,
    info = 4,
    debug = 8,
    verbose = 16
};

/// A format text checked while compiling, with the place of the call: the first argument of every logging operation.
template <class... Args>
struct LogFormat
{
    template <class Text>
    consteval LogFormat(const Text& text, std::source_location place = std::source_location::current())
        : format(text), where(place)
    {
    }

    fmt::format_string<Args...> format;
    std::source_location where;
};

/// What classes log to: fans messages out to the loggers attached to it. Any thread.
///
///     logger->info("Upload {} ({} bytes)", path, size);
///
/// A message becomes one line; control characters in it are escaped. Arguments are formatted only when the level is
/// on. Nothing here throws or fails a run.
class LogFacade
{
public:
    /// `logger` fans out; `clock` stamps the messages.
    explicit LogFacade(std::shared_ptr<spdlog::logger> logger, const Clock& clock = Clock::system());

    template <class... Args>
    void error(LogFormat<std::type_identity_t<Args>...> format, Args&&... args)
    {
        log(LogLevel::error, format, std::forward<Args>(args)...);
    }
    template <class... Args>
    void warning(LogFormat<std::type_identity_t<Args>...> format, Args&&... args)
    {
        log(LogLevel::warning, format, std::forward<Args>(args)...);
    }
    template <class... Args>
    void info(LogFormat<std::type_identity_t<Args>...> format, Args&&... args)
    {
        log(LogLevel::info, format, std::forward<Args>(args)...);
    }
    template <class... Args>
    void debug(LogFormat<std::type_identity_t<Args>...> format, Args&&... args)
    {
        log(LogLevel::debug, format, std::forward<Args>(args)...);
    }

    /// Logs `text` as it is.
    void message(LogLevel level, std::string_view text, std::source_location where = std::source_location::current());
    /// Hands everything logged so far to the system. Done by itself after an error line and every second.
    void flush();

    /// The levels that are on, for all facades: a sum of LogLevel values; error, warning and info until set.
    static void setLevels(unsigned levels) { levels_ = levels; }
    static unsigned levels() { return levels_; }
    static bool isOn(LogLevel level) { return (levels_ & static_cast<unsigned>(level)) != 0; }

    /// Also shown every message of every facade whose level is on, as logged (escaped); called on the logging thread,
    /// one call at a time. Null removes it.
    using Observer = std::function<void(LogLevel level, std::string_view text)>;
    static void setObserver(Observer observer);

private:
    template <class Format, class... Args>
    void log(LogLevel level, const Format& format, Args&&... args)
    {
        if (isOn(level)) message(level, fmt::format(format.format, std::forward<Args>(args)...), format.where);
    }

    static std::atomic<unsigned> levels_;

    std::shared_ptr<spdlog::logger> logger_;
    const Clock& clock_;
};

} // namespace tidemark
