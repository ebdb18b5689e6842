#include "app/cli/ConfigurationWords.h"

namespace tidemark::cli {

std::string_view modeWord(SyncMode mode)
{
    switch (mode) {
    case SyncMode::twoWay:
        return "two-way";
    case SyncMode::uploadOnly:
        return "upload";
    case SyncMode::downloadOnly:
        return "download";
    }
    return "unknown";
}

std::optional<SyncMode> modeFromWord(std::string_view word)
{
    for (const auto mode : {SyncMode::twoWay, SyncMode::uploadOnly, SyncMode::downloadOnly})
        if (modeWord(mode) == word) return mode;
    return std::nullopt;
}

} // namespace tidemark::cli
