#pragma once

#include <span>
#include <string_view>

namespace tidemark {

struct EmbeddedTable
{
    std::string_view language;
    std::string_view table;
    /// One JSON object of key to text.
    std::string_view json;
};

/// The tables of resources/localization, written by the build.
std::span<const EmbeddedTable> embeddedTables();

} // namespace tidemark
