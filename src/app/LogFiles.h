#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Logger/LogFacade.h"

namespace tidemark {

class BXSyncConfigManager;

/// A log of which there is a file per day.
struct LogSource
{
    /// The configuration's name; "" for the program's own log.
    std::string configuration;
    std::string folder;
    /// The name without its date.
    std::string logname;

    /// Paths of the daily files, newest first. Reads the folder.
    std::vector<std::string> files() const;

    bool operator==(const LogSource&) const = default;
};

/// Where a program with windows keeps its global log, below the configuration directory; for
/// BXLogger::setGlobalLogger().
std::string programLogPath(const std::string& configurationDirectory);

/// The program's log, then those of the configurations that keep one, in the store's order.
std::vector<LogSource> logSources(BXSyncConfigManager& store);

/// A line of a log file in its parts. A text that does not have the form of a line is all message, without level.
struct LogLine
{
    /// "yyyy/MM/dd HH:mm:ss.SSS", as it is in the file.
    std::string time;
    std::optional<LogLevel> level;
    /// "file(line) function".
    std::string place;
    std::string message;

    static LogLine parse(std::string_view line);
};

/// A part of a log file that grows at both ends: forward() follows the file, backward() takes earlier lines in. Never
/// reads more than a piece at a time, whatever the file's size. One thread at a time.
class LogFileReader
{
public:
    static constexpr std::int64_t defaultPiece = 256 * 1024;
    /// What stands beyond this in a line is left out.
    static constexpr std::size_t longestLine = 64 * 1024;

    struct Piece
    {
        /// The file is not the one that was read so far: what it gave is gone.
        bool restarted = false;
        std::vector<LogLine> lines;
        /// There is more to read in this direction.
        bool more = false;
    };

    /// The first forward() begins one piece before the file's end. A file that does not exist is empty.
    explicit LogFileReader(std::string path, std::int64_t pieceBytes = defaultPiece);

    const std::string& path() const { return path_; }
    /// Whole lines that are new at the end.
    Piece forward();
    /// Whole lines before the ones that are known, in the file's order.
    Piece backward();
    bool hasEarlier() const { return begin_ > 0; }

private:
    std::string read(std::int64_t from, std::int64_t to) const;
    void start(std::int64_t size);

    const std::string path_;
    const std::int64_t piece_;
    bool started_ = false;
    std::int64_t begin_ = 0;
    std::int64_t end_ = 0;
};

} // namespace tidemark
