#include "config/BXSyncGlobalConf.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "platform/UserDefaults.h"

namespace tidemark {

namespace {

constexpr const char* optionsTimeoutKey = "BXSYNC_HTTP_OPTIONS_CONNECTION_TIMEOUT";
constexpr const char* propfindTimeoutKey = "BXSYNC_HTTP_PROPFIND_CONNECTION_TIMEOUT";
constexpr const char* timeoutKey = "BXSYNC_HTTP_CONNECTION_TIMEOUT";
constexpr const char* reconnectKey = "BXSYNC_HTTP_RECONNECTION";
constexpr const char* reconnectIntervalKey = "BXSYNC_HTTP_RECONNECTION_INTERVAL";
constexpr const char* reconnectLimitKey = "BXSYNC_HTTP_RECONNECTION_LIMIT";
constexpr const char* syncOnStartUpKey = "BXSYNC_SYNC_ON_STARTUP";
constexpr const char* syncOnExitKey = "BXSYNC_SYNC_ON_EXIT";
constexpr const char* hideProgressKey = "BXSYNC_HIDE_PROGRESS_DIALOG";

bool isPositiveNumber(const std::string& typed)
{
    const bool digitsOnly = std::all_of(typed.begin(), typed.end(), [](char c) { return c >= '0' && c <= '9'; });
    return digitsOnly && typed.find_first_not_of('0') != std::string::npos;
}

} // namespace

BXSyncGlobalConf& BXSyncGlobalConf::getInstance()
{
    static BXSyncGlobalConf instance(UserDefaults::standard());
    return instance;
}

std::uint64_t BXSyncGlobalConf::optionsTimeout() const
{
    return unsignedValue(optionsTimeoutKey, 10);
}
std::uint64_t BXSyncGlobalConf::propfindTimeout() const
{
    return unsignedValue(propfindTimeoutKey, 20);
}
std::uint64_t BXSyncGlobalConf::timeout() const
{
    return unsignedValue(timeoutKey, 120);
}
bool BXSyncGlobalConf::reconnect() const
{
    return boolValue(reconnectKey, true);
}
std::uint64_t BXSyncGlobalConf::reconnectInterval() const
{
    return unsignedValue(reconnectIntervalKey, 10);
}
std::uint64_t BXSyncGlobalConf::reconnectLimit() const
{
    return unsignedValue(reconnectLimitKey, 3);
}
bool BXSyncGlobalConf::syncOnStartUp() const
{
    return boolValue(syncOnStartUpKey, false);
}
bool BXSyncGlobalConf::syncOnExit() const
{
    return boolValue(syncOnExitKey, false);
}
bool BXSyncGlobalConf::hideProgress() const
{
    return boolValue(hideProgressKey, false);
}

void BXSyncGlobalConf::setOptionsTimeout(std::optional<std::uint64_t> seconds)
{
    setUnsigned(optionsTimeoutKey, seconds);
}
void BXSyncGlobalConf::setPropfindTimeout(std::optional<std::uint64_t> seconds)
{
    setUnsigned(propfindTimeoutKey, seconds);
}
void BXSyncGlobalConf::setTimeout(std::optional<std::uint64_t> seconds)
{
    setUnsigned(timeoutKey, seconds);
}
void BXSyncGlobalConf::setReconnect(std::optional<bool> value)
{
    setBool(reconnectKey, value);
}
void BXSyncGlobalConf::setReconnectInterval(std::optional<std::uint64_t> seconds)
{
    setUnsigned(reconnectIntervalKey, seconds);
}
void BXSyncGlobalConf::setReconnectLimit(std::optional<std::uint64_t> value)
{
    setUnsigned(reconnectLimitKey, value);
}
void BXSyncGlobalConf::setSyncOnStartUp(std::optional<bool> value)
{
    setBool(syncOnStartUpKey, value);
}
void BXSyncGlobalConf::setSyncOnExit(std::optional<bool> value)
{
    setBool(syncOnExitKey, value);
}
void BXSyncGlobalConf::setHideProgress(std::optional<bool> value)
{
    setBool(hideProgressKey, value);
}

Status BXSyncGlobalConf::synchronize()
{
    return store_.synchronize();
}

std::optional<std::string> BXSyncGlobalConf::validationError(const TypedSettings& typed)
{
    if (!isPositiveNumber(typed.propfindTimeout)) return "CONFIG_TIMEOUT_PROPFIND_ERROR";
    if (!isPositiveNumber(typed.timeout)) return "CONFIG_TIMEOUT_OTHER_ERROR";
    if (!typed.reconnect) return std::nullopt;
    if (!isPositiveNumber(typed.reconnectInterval)) return "CONFIG_RECONNECT_INTERVAL_ERROR";
    if (!isPositiveNumber(typed.reconnectLimit)) return "CONFIG_RECONNECT_LIMIT_ERROR";
    return std::nullopt;
}

std::uint64_t BXSyncGlobalConf::unsignedValue(const char* key, std::uint64_t fallback) const
{
    const auto stored = store_.object(key);
    return stored ? static_cast<std::uint64_t>(stored->integerValue()) : fallback;
}

bool BXSyncGlobalConf::boolValue(const char* key, bool fallback) const
{
    const auto stored = store_.object(key);
    return stored ? stored->boolValue() : fallback;
}

void BXSyncGlobalConf::setUnsigned(const char* key, std::optional<std::uint64_t> value)
{
    if (!value) return store_.setObject(key, std::nullopt);
    constexpr auto largest = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    store_.setObject(key, PropertyList(static_cast<std::int64_t>(std::min(*value, largest))));
}

void BXSyncGlobalConf::setBool(const char* key, std::optional<bool> value)
{
    store_.setObject(key, value ? std::optional(PropertyList(*value)) : std::nullopt);
}

} // namespace tidemark
