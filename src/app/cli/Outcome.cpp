#include "app/cli/Outcome.h"

#include <algorithm>

#include "app/cli/ProgressLine.h"

namespace tidemark::cli {

namespace {

std::string padded(std::string_view text, std::size_t width)
{
    std::string result(text);
    result.resize(std::max(width, result.size()), ' ');
    return result;
}

std::string sizeText(const SyncItem& item)
{
    if (item.folder) return "folder";
    return item.change == Change::deleted ? ""
                                          : byteText(static_cast<std::uint64_t>(std::max<std::int64_t>(item.size, 0)));
}

std::string counted(std::size_t count, std::string_view what)
{
    return count == 0 ? std::string{} : std::to_string(count) + " " + std::string(what);
}

std::string joined(const std::vector<std::string>& parts)
{
    std::string text;
    for (const auto& part : parts)
        if (!part.empty()) text += (text.empty() ? "" : ", ") + part;
    return text;
}

} // namespace

std::string itemLine(const SyncItem& item)
{
    return padded(word(item.direction), 9) + padded(word(item.change), 8) + padded(sizeText(item), 11) + item.path;
}

std::string summary(const std::vector<SyncItem>& items)
{
    const auto count = [&](Direction direction) {
        return static_cast<std::size_t>(
            std::ranges::count_if(items, [&](const SyncItem& item) { return item.direction == direction; }));
    };
    const auto conflicts = count(Direction::conflict);
    const auto text = joined({counted(count(Direction::up), "up"), counted(count(Direction::down), "down"),
                              counted(conflicts, conflicts == 1 ? "conflict" : "conflicts")});
    return text.empty() ? "nothing to do" : text;
}

} // namespace tidemark::cli
