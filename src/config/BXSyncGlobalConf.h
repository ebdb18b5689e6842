#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/PropertyList.h"
#include "platform/Result.h"

namespace tidemark {

class UserDefaults;

/// The settings of all configurations, kept in the user's defaults. Nothing is cached: every read goes to the store, so
/// that the next request sees a change. Setting nothing removes the key, so that the default counts again. Any thread.
class BXSyncGlobalConf
{
public:
    /// What the settings window holds when it is asked to save, as typed.
    struct TypedSettings
    {
        std::string propfindTimeout;
        std::string timeout;
        bool reconnect = true;
        std::string reconnectInterval;
        std::string reconnectLimit;
    };

    /// The one over UserDefaults::standard().
    static BXSyncGlobalConf& getInstance();

    /// `store` outlives this.
    explicit BXSyncGlobalConf(UserDefaults& store) : store_(store) {}

    /// Seconds.
    std::uint64_t optionsTimeout() const;
    std::uint64_t propfindTimeout() const;
    std::uint64_t timeout() const;
    bool reconnect() const;
    /// Seconds.
    std::uint64_t reconnectInterval() const;
    std::uint64_t reconnectLimit() const;
    bool syncOnStartUp() const;
    bool syncOnExit() const;
    bool hideProgress() const;

    void setOptionsTimeout(std::optional<std::uint64_t> seconds);
    void setPropfindTimeout(std::optional<std::uint64_t> seconds);
    void setTimeout(std::optional<std::uint64_t> seconds);
    void setReconnect(std::optional<bool> value);
    void setReconnectInterval(std::optional<std::uint64_t> seconds);
    void setReconnectLimit(std::optional<std::uint64_t> value);
    void setSyncOnStartUp(std::optional<bool> value);
    void setSyncOnExit(std::optional<bool> value);
    void setHideProgress(std::optional<bool> value);

    /// Flushes the store; a write that failed is reported here.
    Status synchronize();

    /// The message key of the first rule that the typed values break; nothing when they may be saved.
    static std::optional<std::string> validationError(const TypedSettings& typed);

private:
    std::uint64_t unsignedValue(const char* key, std::uint64_t fallback) const;
    bool boolValue(const char* key, bool fallback) const;
    void setUnsigned(const char* key, std::optional<std::uint64_t> value);
    void setBool(const char* key, std::optional<bool> value);

    UserDefaults& store_;
};

} // namespace tidemark
