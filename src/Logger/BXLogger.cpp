#include "Logger/BXLogger.h"

#include <chrono>
#include <cstdlib>
#include <map>
#include <mutex>
#include <typeinfo>
#include <vector>

#include <cxxabi.h>
#include <execinfo.h>
#include <syslog.h>

#include <spdlog/logger.h>

#include <spdlog/details/periodic_worker.h>
#include <spdlog/sinks/syslog_sink.h>

#include "Logger/BXFileLogger.h"
#include "Logger/BXLogFomatter.h"
#include "platform/FileSystem.h"

namespace tidemark {

namespace {

constexpr const char* defaultKey = "default";
constexpr const char* globalName = "global";
constexpr auto flushInterval = std::chrono::seconds(1);

struct Registry
{
    spdlog::sink_ptr systemLog;
    std::mutex mutex; // guards all below
    std::map<std::string, std::shared_ptr<LogFacade>> facades;
    std::shared_ptr<LogFacade> global;
    std::unique_ptr<spdlog::details::periodic_worker> flusher;
};

spdlog::sink_ptr makeSystemLog()
{
    auto sink = std::make_shared<spdlog::sinks::syslog_sink_mt>("tidemark", LOG_PID, LOG_USER, true);
    sink->set_formatter(std::make_unique<BXLogFomatter>());
    return sink;
}

std::shared_ptr<LogFacade> makeFacade(const std::string& name, spdlog::sink_ptr sink, const Clock& clock)
{
    return std::make_shared<LogFacade>(std::make_shared<spdlog::logger>(name, std::move(sink)), clock);
}

void finishLogging();

Registry* makeRegistry()
{
    auto* registry = new Registry;
    registry->systemLog = makeSystemLog();
    registry->global = makeFacade(globalName, registry->systemLog, Clock::system());
    registry->flusher = std::make_unique<spdlog::details::periodic_worker>(&BXLogger::flushAll, flushInterval);
    std::atexit(&finishLogging);
    return registry;
}

/// Never destroyed: what logs while the program ends still finds it.
Registry& registry()
{
    static Registry& instance = *makeRegistry();
    return instance;
}

void finishLogging()
{
    registry().flusher.reset();
    BXLogger::flushAll();
}

std::shared_ptr<LogFacade> globalFacade()
{
    auto& all = registry();
    std::lock_guard lock(all.mutex);
    return all.global;
}

std::shared_ptr<BXFileLogger> makeFileLogger(const std::string& path, std::optional<int> maxLogFiles,
                                             BXFileLogger::FailureReport report, const Clock& clock)
{
    auto manager = std::make_unique<BXFileLoggerManager>(path, maxLogFiles);
    auto logger = std::make_shared<BXFileLogger>(std::move(manager), std::move(report), clock);
    logger->set_formatter(std::make_unique<BXLogFomatter>());
    return logger;
}

/// For the global log's own file, which cannot report to itself.
void reportToSystemLog(const std::string& text)
{
    BXLogger::getLogger()->error("{}", text);
}

std::string typeName(const std::exception& exception)
{
    int status = 0;
    char* name = abi::__cxa_demangle(typeid(exception).name(), nullptr, nullptr, &status);
    std::string text = name ? name : typeid(exception).name();
    std::free(name);
    return text;
}

} // namespace

std::string BXLogger::callStack()
{
    void* frames[64];
    const int count = ::backtrace(frames, 64);
    char** symbols = ::backtrace_symbols(frames, count);
    std::string text;
    for (int i = 1; symbols && i < count; ++i)
        text += (i > 1 ? ", " : "") + std::string(symbols[i]);
    std::free(symbols);
    return text;
}

std::shared_ptr<LogFacade> BXLogger::getLogger(const std::string& folder, const std::string& name,
                                               std::optional<int> maxFiles, const Clock& clock)
{
    const auto path = name.empty() ? folder : fs::joinPath(folder, name);
    const auto key = folder.empty() ? defaultKey : path;
    auto& all = registry();
    std::lock_guard lock(all.mutex);
    auto& facade = all.facades[key];
    if (facade) return facade;
    auto sink = folder.empty() ? all.systemLog : createFileLogger(path, maxFiles, clock);
    facade = makeFacade(key, std::move(sink), clock);
    return facade;
}

std::shared_ptr<BXFileLogger> BXLogger::createFileLogger(const std::string& path, std::optional<int> maxLogFiles,
                                                         const Clock& clock)
{
    return makeFileLogger(
        path, maxLogFiles, [](const std::string& text) { globalError(text); }, clock);
}

void BXLogger::setGlobalLogger(const std::optional<std::string>& path)
{
    auto& all = registry();
    auto sink = path ? spdlog::sink_ptr(makeFileLogger(*path, {}, &reportToSystemLog, Clock::system())) : all.systemLog;
    auto facade = makeFacade(globalName, std::move(sink), Clock::system());
    std::lock_guard lock(all.mutex);
    all.global.swap(facade);
}

void BXLogger::globalError(std::string_view text, const std::optional<std::string>& stackTrace,
                           std::source_location where)
{
    const auto facade = globalFacade();
    facade->message(LogLevel::error, text, where);
    if (stackTrace) facade->message(LogLevel::error, *stackTrace, where);
    facade->flush();
}

void BXLogger::globalErrorException(const std::exception& exception, std::source_location where)
{
    globalError(typeName(exception) + ": " + exception.what(), callStack(), where);
}

void BXLogger::flushAll()
{
    auto& all = registry();
    std::vector<std::shared_ptr<LogFacade>> facades;
    {
        // A flush that fails logs, so none runs under the lock.
        std::lock_guard lock(all.mutex);
        for (const auto& [key, facade] : all.facades)
            facades.push_back(facade);
        facades.push_back(all.global);
    }
    for (const auto& facade : facades)
        facade->flush();
}

} // namespace tidemark
