#include "Logger/BXFileLogger.h"

#include <cerrno>
#include <chrono>

#include <fcntl.h>
#include <unistd.h>

#include "platform/FileSystem.h"

namespace tidemark {

namespace {

constexpr std::size_t bufferLimit = 64 * 1024;
constexpr auto retryInterval = std::chrono::minutes(1);

dates::Time creationDateOf(const std::string& path, dates::Time fallback)
{
    if (const auto birth = fs::birthTime(path)) return dates::fromSeconds(*birth);
    const auto attributes = fs::attributes(path);
    return attributes ? dates::fromSeconds(attributes->modified) : fallback;
}

Status writeAll(int descriptor, std::string_view bytes)
{
    while (!bytes.empty()) {
        const auto written = ::write(descriptor, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) return posixFailure(errno, "write");
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return {};
}

} // namespace

BXFileLogger::BXFileLogger(std::unique_ptr<BXFileLoggerManager> manager, FailureReport report, const Clock& clock)
    : manager_(std::move(manager)), report_(std::move(report)), clock_(clock)
{
}

BXFileLogger::~BXFileLogger()
{
    // Reporting a failure here would need loggers that may be gone already.
    reported_ = true;
    writeOut();
    closeFile();
}

bool BXFileLogger::shouldArchiveRecentLogFileInfo(dates::Time creationDate, dates::Time now)
{
    const auto a = dates::localFields(creationDate);
    const auto b = dates::localFields(now);
    return a.year != b.year || a.month != b.month || a.day != b.day;
}

void BXFileLogger::sink_it_(const spdlog::details::log_msg& message)
{
    if (!prepareFile()) return;
    spdlog::memory_buf_t line;
    formatter_->format(message, line);
    buffer_.append(line.data(), line.size());
    if (buffer_.size() >= bufferLimit) writeOut();
}

void BXFileLogger::flush_()
{
    writeOut();
}

/// True when a file of the current day is open.
bool BXFileLogger::prepareFile()
{
    const auto now = clock_.wallNow();
    if (descriptor_ >= 0 && now >= quarterBegin_ && now < quarterEnd_) return true;
    if (descriptor_ >= 0 && !shouldArchiveRecentLogFileInfo(creationDate_, now)) {
        rememberQuarterHour(now);
        return true;
    }
    if (retryAt_ && now < *retryAt_) return false;
    writeOut();
    closeFile();
    return openFile(now);
}

/// Days of every zone begin at a quarter of an hour, so the calendar is asked once in each.
void BXFileLogger::rememberQuarterHour(dates::Time now)
{
    using QuarterHour = std::chrono::duration<std::int64_t, std::ratio<900>>;
    quarterBegin_ = std::chrono::floor<QuarterHour>(now);
    quarterEnd_ = quarterBegin_ + QuarterHour(1);
}

/// The newest file of this log where it was started today, else a new one.
bool BXFileLogger::openFile(dates::Time now)
{
    if (const auto made = fs::createFolders(manager_->logsDirectory()); !made) {
        fail(made.error());
        return false;
    }
    const auto recent = recentFile(now);
    creationDate_ = recent.empty() ? now : creationDateOf(recent, now);
    path_ = recent.empty() ? fs::joinPath(manager_->logsDirectory(), manager_->newLogFileName(now)) : recent;
    if (const auto opened = openDescriptor(path_); !opened) {
        fail(opened.error());
        return false;
    }
    rememberQuarterHour(now);
    if (recent.empty()) manager_->deleteOldLogFiles();
    return true;
}

std::string BXFileLogger::recentFile(dates::Time now)
{
    const auto names = manager_->logFiles();
    if (names.empty()) return {};
    auto path = fs::joinPath(manager_->logsDirectory(), names.front());
    return shouldArchiveRecentLogFileInfo(creationDateOf(path, now), now) ? std::string{} : path;
}

Status BXFileLogger::openDescriptor(const std::string& path)
{
    // Lines of several processes may share the file: every write appends whole lines.
    descriptor_ = ::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NOCTTY, 0644);
    if (descriptor_ < 0) return posixFailure(errno, path);
    retryAt_.reset();
    return {};
}

void BXFileLogger::closeFile()
{
    if (descriptor_ >= 0) ::close(descriptor_);
    descriptor_ = -1;
}

void BXFileLogger::writeOut()
{
    if (descriptor_ < 0 || buffer_.empty()) return;
    const auto written = writeAll(descriptor_, buffer_);
    buffer_.clear();
    if (written) {
        reported_ = false;
        return;
    }
    closeFile();
    fail(written.error());
}

void BXFileLogger::fail(const Error& error)
{
    buffer_.clear();
    retryAt_ = clock_.wallNow() + retryInterval;
    if (reported_) return;
    reported_ = true;
    if (report_) report_("The log file can not be written.:" + error.description());
}

} // namespace tidemark
