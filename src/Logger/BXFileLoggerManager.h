#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Dates.h"

namespace tidemark {

/// Names and keeps the daily files of one log: "<base>_<yyyy-MM-dd><.log>" in the log's folder, the date in GMT.
class BXFileLoggerManager
{
public:
    /// `logPath`: the folder and the log's name. Without a number 90 files are kept.
    BXFileLoggerManager(const std::string& logPath, std::optional<int> maxLogFiles);

    const std::string& logsDirectory() const { return logsDirectory_; }
    const std::string& logname() const { return logname_; }
    int maximumNumberOfLogFiles() const;

    std::string newLogFileName(dates::Time now) const;
    /// Whether a file of that name counts as one of this log. For a log name without ".log" the test is the reverse
    /// one: the log name begins with the file name.
    bool isLogFile(std::string_view fileName) const;

    /// The names of this log's daily files, newest first. Files of another log whose name merely begins like this one
    /// are not among them.
    std::vector<std::string> logFiles() const;
    /// Deletes the oldest files beyond the maximum; the newest stays whatever the maximum.
    void deleteOldLogFiles() const;

private:
    bool isDailyFile(std::string_view fileName) const;

    std::string logsDirectory_;
    std::string logname_;
    std::string base_;
    std::string extension_;
    std::optional<int> maxLogFiles_;
};

} // namespace tidemark
