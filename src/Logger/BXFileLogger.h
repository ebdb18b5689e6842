#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include <spdlog/sinks/base_sink.h>

#include "Logger/BXFileLoggerManager.h"
#include "platform/Clock.h"
#include "platform/Result.h"

namespace tidemark {

/// Writes lines to the log's file of the day; a new file is started at the first message of each new day of the
/// user's zone, never by size. Lines are collected and written together: at an error line, when a buffer is full, and
/// at flush(). A file that cannot be opened or written is reported once and tried again a minute later; the lines
/// between are lost.
class BXFileLogger : public spdlog::sinks::base_sink<std::mutex>
{
public:
    /// Takes the text of a failure; must not log to this logger.
    using FailureReport = std::function<void(const std::string&)>;

    BXFileLogger(std::unique_ptr<BXFileLoggerManager> manager, FailureReport report,
                 const Clock& clock = Clock::system());
    ~BXFileLogger() override;

    const BXFileLoggerManager& logFileManager() const { return *manager_; }
    /// Both dates written in the medium style of the user's zone differ.
    static bool shouldArchiveRecentLogFileInfo(dates::Time creationDate, dates::Time now);

protected:
    void sink_it_(const spdlog::details::log_msg& message) override;
    void flush_() override;

private:
    bool prepareFile();
    void rememberQuarterHour(dates::Time now);
    bool openFile(dates::Time now);
    Status openDescriptor(const std::string& path);
    void closeFile();
    void writeOut();
    void fail(const Error& error);
    std::string recentFile(dates::Time now);

    std::unique_ptr<BXFileLoggerManager> manager_;
    const FailureReport report_;
    const Clock& clock_;
    int descriptor_ = -1;
    std::string buffer_;
    std::string path_;
    dates::Time creationDate_;
    dates::Time quarterBegin_;
    dates::Time quarterEnd_;
    bool reported_ = false;
    std::optional<dates::Time> retryAt_;
};

} // namespace tidemark
