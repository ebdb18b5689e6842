#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tidemark {

/// The text of an in-flight record. Lines that are none are passed over, one cut short by a crash above all.
struct BXSyncInflightRecord
{
    struct Entry
    {
        std::string pathname;
        std::string before;
    };

    std::string systemStart;
    std::vector<Entry> entries;
    /// Index of the download that began and did not end.
    std::optional<std::size_t> underWay;
    /// Of the server's file that it downloads; "" where it is not known.
    std::string version;

    static BXSyncInflightRecord parse(std::string_view text);
    static std::string head(std::string_view systemStart);
    static std::string entryLine(const Entry& entry);
    static constexpr char began = 'B';
    static constexpr char ended = 'E';
    static std::string progressLine(char what, std::size_t index, std::string_view version = {});
};

} // namespace tidemark
