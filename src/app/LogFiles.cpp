#include "app/LogFiles.h"

#include <algorithm>
#include <fstream>

#include "Logger/BXFileLoggerManager.h"
#include "config/BXSyncConfigManager.h"
#include "platform/FileSystem.h"

namespace tidemark {

namespace {

constexpr std::string_view timeForm = "dddd/dd/dd dd:dd:dd.ddd";
constexpr std::size_t levelLength = 5;

bool hasForm(std::string_view text, std::string_view form)
{
    return text.size() >= form.size() && std::equal(form.begin(), form.end(), text.begin(), [](char f, char c) {
               return f == 'd' ? c >= '0' && c <= '9' : f == c;
           });
}

LogLevel levelOf(std::string_view name)
{
    if (name == "ERROR") return LogLevel::error;
    if (name == "WARN ") return LogLevel::warning;
    if (name == "INFO ") return LogLevel::info;
    return name == "DEBUG" ? LogLevel::debug : LogLevel::verbose;
}

std::vector<LogLine> linesOf(std::string_view text)
{
    std::vector<LogLine> lines;
    while (!text.empty()) {
        const auto end = std::min(text.find('\n'), text.size());
        lines.push_back(LogLine::parse(text.substr(0, std::min(end, LogFileReader::longestLine))));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

std::int64_t sizeOf(const std::string& path)
{
    const auto attributes = fs::attributes(path);
    return attributes && attributes->kind == fs::FileKind::file ? attributes->size : 0;
}

} // namespace

std::vector<std::string> LogSource::files() const
{
    auto names = BXFileLoggerManager(fs::joinPath(folder, logname), std::nullopt).logFiles();
    for (auto& name : names)
        name = fs::joinPath(folder, name);
    return names;
}

std::string programLogPath(const std::string& configurationDirectory)
{
    return fs::joinPath(fs::joinPath(configurationDirectory, "logs"), "tidemark.log");
}

std::vector<LogSource> logSources(BXSyncConfigManager& store)
{
    const auto program = programLogPath(store.directory());
    std::vector<LogSource> sources{{{}, fs::parentPath(program), fs::lastPathComponent(program)}};
    for (const auto& name : store.configNames()) {
        const auto conf = store.get(name, true);
        if (conf && !conf->syncLogPath().empty()) sources.push_back({name, conf->syncLogPath(), conf->logname()});
    }
    return sources;
}

LogLine LogLine::parse(std::string_view line)
{
    LogLine whole;
    whole.message = line;
    if (!hasForm(line, timeForm)) return whole;
    const auto thread = line.find(") ", timeForm.size());
    if (thread == std::string_view::npos) return whole;
    const auto place = thread + 2 + levelLength;
    if (line.substr(std::min(place, line.size())).substr(0, 2) != " [") return whole;
    const auto placeEnd = line.find("] ", place);
    if (placeEnd == std::string_view::npos) return whole;
    LogLine parts;
    parts.time = line.substr(0, timeForm.size());
    parts.level = levelOf(line.substr(thread + 2, levelLength));
    parts.place = line.substr(place + 2, placeEnd - place - 2);
    parts.message = line.substr(placeEnd + 2);
    return parts;
}

LogFileReader::LogFileReader(std::string path, std::int64_t pieceBytes) : path_(std::move(path)), piece_(pieceBytes) {}

std::string LogFileReader::read(std::int64_t from, std::int64_t to) const
{
    std::ifstream file(path_, std::ios::binary);
    if (!file.seekg(from)) return {};
    std::string bytes(static_cast<std::size_t>(to - from), '\0');
    file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    bytes.resize(static_cast<std::size_t>(std::max<std::streamsize>(file.gcount(), 0)));
    return bytes;
}

/// At the first whole line of the last piece.
void LogFileReader::start(std::int64_t size)
{
    started_ = size > 0;
    begin_ = std::max<std::int64_t>(size - piece_, 0);
    if (begin_ > 0) {
        const auto lineEnd = read(begin_, size).find('\n');
        if (lineEnd != std::string::npos) begin_ += static_cast<std::int64_t>(lineEnd) + 1;
    }
    end_ = begin_;
}

LogFileReader::Piece LogFileReader::forward()
{
    const auto size = sizeOf(path_);
    Piece piece;
    piece.restarted = started_ && size < end_;
    if (!started_ || piece.restarted) start(size);
    const auto bytes = read(end_, std::min(end_ + piece_, size));
    const auto lastBreak = bytes.rfind('\n');
    // The last line is being written, unless it is longer than anything that is shown.
    const bool overlong = lastBreak == std::string::npos && static_cast<std::int64_t>(bytes.size()) == piece_;
    const auto whole = overlong ? bytes.size() : lastBreak == std::string::npos ? 0 : lastBreak + 1;
    piece.lines = linesOf(std::string_view(bytes).substr(0, whole));
    end_ += static_cast<std::int64_t>(whole);
    piece.more = whole > 0 && end_ < size;
    return piece;
}

LogFileReader::Piece LogFileReader::backward()
{
    auto from = std::max<std::int64_t>(begin_ - piece_, 0);
    auto bytes = read(from, begin_);
    if (from > 0) {
        const auto firstBreak = bytes.find('\n');
        if (firstBreak + 1 < bytes.size()) {
            from += static_cast<std::int64_t>(firstBreak) + 1;
            bytes.erase(0, firstBreak + 1);
        }
    }
    begin_ = from;
    return {false, linesOf(bytes), hasEarlier()};
}

} // namespace tidemark
