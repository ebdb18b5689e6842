#include "Logger/LogFacade.h"

#include <mutex>

#include <spdlog/logger.h>

#include "platform/Unicode.h"

namespace tidemark {

namespace {

std::mutex observerMutex;
LogFacade::Observer observer;
std::atomic<bool> hasObserver = false;

spdlog::level::level_enum libraryLevel(LogLevel level)
{
    switch (level) {
    case LogLevel::error:
        return spdlog::level::err;
    case LogLevel::warning:
        return spdlog::level::warn;
    case LogLevel::info:
        return spdlog::level::info;
    case LogLevel::debug:
        return spdlog::level::debug;
    case LogLevel::verbose:
        return spdlog::level::trace;
    }
    return spdlog::level::trace;
}

bool isPlain(std::string_view text)
{
    for (unsigned char c : text)
        if (c < 0x20 || c >= 0x7f) return false;
    return true;
}

void tellObserver(LogLevel level, std::string_view text)
{
    std::lock_guard lock(observerMutex);
    if (observer) observer(level, text);
}

} // namespace

std::atomic<unsigned> LogFacade::levels_ = static_cast<unsigned>(LogLevel::error) |
                                           static_cast<unsigned>(LogLevel::warning) |
                                           static_cast<unsigned>(LogLevel::info);

LogFacade::LogFacade(std::shared_ptr<spdlog::logger> logger, const Clock& clock)
    : logger_(std::move(logger)), clock_(clock)
{
    logger_->set_level(spdlog::level::trace);
    logger_->flush_on(spdlog::level::err);
    // The library's own way of reporting is standard error, which belongs to the front end.
    logger_->set_error_handler([](const std::string&) {});
}

void LogFacade::message(LogLevel level, std::string_view text, std::source_location where)
{
    if (!isOn(level)) return;
    // What is logged names files, and a file name may hold line breaks.
    const std::string escaped = isPlain(text) ? std::string{} : escapeControls(text);
    const std::string_view line = escaped.empty() ? text : std::string_view(escaped);
    const spdlog::source_loc place{where.file_name(), static_cast<int>(where.line()), where.function_name()};
    logger_->log(clock_.wallNow(), place, libraryLevel(level), spdlog::string_view_t(line.data(), line.size()));
    if (hasObserver) tellObserver(level, line);
}

void LogFacade::flush()
{
    logger_->flush();
}

void LogFacade::setObserver(Observer newObserver)
{
    std::lock_guard lock(observerMutex);
    observer = std::move(newObserver);
    hasObserver = static_cast<bool>(observer);
}

} // namespace tidemark
