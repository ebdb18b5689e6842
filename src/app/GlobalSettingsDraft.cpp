#include "app/GlobalSettingsDraft.h"

#include <charconv>
#include <limits>

#include "Utils/BXTidemarkUtils.h"

namespace tidemark {

namespace {

/// Digits that no number holds are the greatest one; nothing for 0 and for other text.
std::optional<std::uint64_t> positiveNumber(const std::string& text)
{
    if (!BXTidemarkUtils::checkNumber(text)) return std::nullopt;
    std::uint64_t number = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
    if (result.ec == std::errc::result_out_of_range) return std::numeric_limits<std::uint64_t>::max();
    return number > 0 ? std::optional(number) : std::nullopt;
}

} // namespace

GlobalSettingsDraft draftOf(const BXSyncGlobalConf& settings)
{
    return {.optionsTimeout = std::to_string(settings.optionsTimeout()),
            .typed = {.propfindTimeout = std::to_string(settings.propfindTimeout()),
                      .timeout = std::to_string(settings.timeout()),
                      .reconnect = settings.reconnect(),
                      .reconnectInterval = std::to_string(settings.reconnectInterval()),
                      .reconnectLimit = std::to_string(settings.reconnectLimit())},
            .syncOnStartUp = settings.syncOnStartUp(),
            .syncOnExit = settings.syncOnExit(),
            .hideProgress = settings.hideProgress()};
}

Status store(const GlobalSettingsDraft& draft, BXSyncGlobalConf& settings)
{
    if (const auto seconds = positiveNumber(draft.optionsTimeout)) settings.setOptionsTimeout(*seconds);
    if (const auto seconds = positiveNumber(draft.typed.propfindTimeout)) settings.setPropfindTimeout(*seconds);
    if (const auto seconds = positiveNumber(draft.typed.timeout)) settings.setTimeout(*seconds);
    settings.setReconnect(draft.typed.reconnect);
    if (const auto seconds = positiveNumber(draft.typed.reconnectInterval)) settings.setReconnectInterval(*seconds);
    if (const auto limit = positiveNumber(draft.typed.reconnectLimit)) settings.setReconnectLimit(*limit);
    settings.setSyncOnStartUp(draft.syncOnStartUp);
    settings.setSyncOnExit(draft.syncOnExit);
    settings.setHideProgress(draft.hideProgress);
    return settings.synchronize();
}

} // namespace tidemark
