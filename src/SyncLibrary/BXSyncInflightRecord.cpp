#include "SyncLibrary/BXSyncInflightRecord.h"

#include <algorithm>
#include <charconv>

#include "platform/Url.h"

namespace tidemark {

namespace {

constexpr std::string_view firstLine = "tidemark-inflight-1 ";

std::optional<std::size_t> indexOf(std::string_view text)
{
    std::size_t index = 0;
    const auto* end = text.data() + text.size();
    const auto parsed = std::from_chars(text.data(), end, index);
    return parsed.ec == std::errc() && parsed.ptr == end ? std::optional(index) : std::nullopt;
}

void takeEntry(std::string_view text, BXSyncInflightRecord& record)
{
    const auto blank = text.find(' ');
    if (blank == std::string_view::npos) return;
    // An entry that is not readable keeps its number.
    record.entries.push_back({percentDecode(text.substr(blank + 1)).value_or(""), std::string(text.substr(0, blank))});
}

void takeProgress(char what, std::string_view text, BXSyncInflightRecord& record)
{
    const auto blank = std::min(text.find(' '), text.size());
    const auto index = indexOf(text.substr(0, blank));
    if (!index || *index >= record.entries.size()) return;
    if (what == BXSyncInflightRecord::began) {
        record.underWay = index;
        record.version = text.substr(std::min(blank + 1, text.size()));
    } else if (record.underWay == index) {
        record.underWay.reset();
    }
}

void takeLine(std::string_view line, BXSyncInflightRecord& record)
{
    if (line.starts_with(firstLine)) {
        record.systemStart = line.substr(firstLine.size());
        return;
    }
    if (line.size() < 3 || line[1] != ' ') return;
    switch (line[0]) {
    case 'P':
        return takeEntry(line.substr(2), record);
    case BXSyncInflightRecord::began:
    case BXSyncInflightRecord::ended:
        return takeProgress(line[0], line.substr(2), record);
    default:
        return;
    }
}

} // namespace

BXSyncInflightRecord BXSyncInflightRecord::parse(std::string_view text)
{
    BXSyncInflightRecord record;
    for (auto end = text.find('\n'); end != std::string_view::npos; end = text.find('\n')) {
        takeLine(text.substr(0, end), record);
        text.remove_prefix(end + 1);
    }
    return record;
}

std::string BXSyncInflightRecord::head(std::string_view systemStart)
{
    return std::string(firstLine) + std::string(systemStart) + "\n";
}

std::string BXSyncInflightRecord::entryLine(const Entry& entry)
{
    return "P " + entry.before + " " + percentEncodeComponent(entry.pathname) + "\n";
}

std::string BXSyncInflightRecord::progressLine(char what, std::size_t index, std::string_view version)
{
    const auto tail = version.empty() ? std::string() : " " + std::string(version);
    return std::string(1, what) + " " + std::to_string(index) + tail + "\n";
}

} // namespace tidemark
