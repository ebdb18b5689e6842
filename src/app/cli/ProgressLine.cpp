#include "app/cli/ProgressLine.h"

#include <array>
#include <cstdint>
#include <vector>

#include "platform/Unicode.h"

namespace tidemark::cli {

namespace {

using Snapshot = BXSyncProgressModel::Snapshot;
using Stage = BXSyncProgressModel::Stage;

constexpr std::size_t shortestName = 8;

std::string twoDigits(std::uint64_t number)
{
    return (number < 10 ? "0" : "") + std::to_string(number);
}

std::string percentText(double fraction)
{
    return std::to_string(static_cast<int>(fraction * 100)) + "%";
}

std::string operationWord(const Snapshot& snapshot)
{
    if (snapshot.operationKey == "PROCESSING_DOWNLOAD") return "down";
    return snapshot.operationKey == "PROCESSING_UPLOAD" ? "up" : "delete";
}

std::string figures(const Snapshot& snapshot)
{
    std::string text = std::to_string(snapshot.currentFiles) + "/" + std::to_string(snapshot.totalFiles) + " files, " +
                       byteText(snapshot.doneBytes) + " of " + byteText(snapshot.totalBytes);
    if (snapshot.speed)
        text += ", " + byteText(*snapshot.speed) + "/s, " + durationText(snapshot.remainingSeconds) + " left";
    return text;
}

std::string prefixOf(std::string_view text, std::size_t codePoints)
{
    std::size_t bytes = 0;
    for (; bytes < text.size(); ++bytes)
        if ((static_cast<unsigned char>(text[bytes]) & 0xc0) != 0x80 && codePoints-- == 0) break;
    return std::string(text.substr(0, bytes));
}

/// The beginning of a name; the end gives way to "..".
std::string shortened(const std::string& name, std::size_t codePoints)
{
    return codePointCount(name) <= codePoints ? name : prefixOf(name, codePoints - 2) + "..";
}

std::string listingLine(const Snapshot& snapshot)
{
    return snapshot.label + ": listing " + std::to_string(snapshot.currentFiles) + "/" +
           std::to_string(snapshot.totalFiles);
}

std::string itemLine(const Snapshot& snapshot, std::size_t width)
{
    const std::string head = percentText(snapshot.overallProgress) + " " + operationWord(snapshot) + " ";
    const std::string tail = "  " + figures(snapshot);
    const auto taken = head.size() + tail.size();
    const auto room = width > taken + shortestName ? width - taken : shortestName;
    return head + shortened(escapeControls(snapshot.fileName), room) + tail;
}

} // namespace

std::string progressLine(const Snapshot& snapshot, std::size_t columns)
{
    const std::size_t width = columns > 1 ? columns - 1 : 1;
    switch (snapshot.stage) {
    case Stage::idle:
        return "";
    case Stage::listing:
        return prefixOf(escapeControls(listingLine(snapshot)), width);
    case Stage::transferring:
    case Stage::deleting:
    case Stage::betweenItems:
        break;
    }
    return prefixOf(itemLine(snapshot, width), width);
}

std::string byteText(std::uint64_t bytes)
{
    static constexpr std::array units{"B", "KiB", "MiB", "GiB", "TiB", "PiB"};
    if (bytes < 1024) return std::to_string(bytes) + " B";
    double value = static_cast<double>(bytes);
    std::size_t unit = 0;
    for (; value >= 1024 && unit + 1 < units.size(); ++unit)
        value /= 1024;
    const auto tenths = static_cast<std::uint64_t>(value * 10);
    return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + " " + units[unit];
}

std::string durationText(std::uint64_t seconds)
{
    const auto hours = seconds / 3600;
    const auto minutes = seconds / 60 % 60;
    if (hours == 0) return std::to_string(minutes) + ":" + twoDigits(seconds % 60);
    return std::to_string(hours) + ":" + twoDigits(minutes) + ":" + twoDigits(seconds % 60);
}

} // namespace tidemark::cli
