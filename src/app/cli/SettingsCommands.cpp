#include "app/cli/SettingsCommands.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <variant>

#include "app/ConfigurationInput.h"
#include "app/cli/Console.h"
#include "config/BXSyncGlobalConf.h"

namespace tidemark::cli {

namespace {

using Settings = BXSyncGlobalConf;

struct NumberSetting
{
    std::uint64_t (Settings::*get)() const;
    void (Settings::*set)(std::optional<std::uint64_t>);
};

struct SwitchSetting
{
    bool (Settings::*get)() const;
    void (Settings::*set)(std::optional<bool>);
};

struct Setting
{
    std::string_view key;
    std::variant<NumberSetting, SwitchSetting> access;
    /// 0 is allowed while reconnection is off.
    bool isForReconnection = false;
};

const std::array<Setting, 9>& allSettings()
{
    static const std::array<Setting, 9> settings{{
        {"BXSYNC_HTTP_OPTIONS_CONNECTION_TIMEOUT",
         NumberSetting{&Settings::optionsTimeout, &Settings::setOptionsTimeout}},
        {"BXSYNC_HTTP_PROPFIND_CONNECTION_TIMEOUT",
         NumberSetting{&Settings::propfindTimeout, &Settings::setPropfindTimeout}},
        {"BXSYNC_HTTP_CONNECTION_TIMEOUT", NumberSetting{&Settings::timeout, &Settings::setTimeout}},
        {"BXSYNC_HTTP_RECONNECTION", SwitchSetting{&Settings::reconnect, &Settings::setReconnect}},
        {"BXSYNC_HTTP_RECONNECTION_INTERVAL",
         NumberSetting{&Settings::reconnectInterval, &Settings::setReconnectInterval}, true},
        {"BXSYNC_HTTP_RECONNECTION_LIMIT", NumberSetting{&Settings::reconnectLimit, &Settings::setReconnectLimit},
         true},
        {"BXSYNC_SYNC_ON_STARTUP", SwitchSetting{&Settings::syncOnStartUp, &Settings::setSyncOnStartUp}},
        {"BXSYNC_SYNC_ON_EXIT", SwitchSetting{&Settings::syncOnExit, &Settings::setSyncOnExit}},
        {"BXSYNC_HIDE_PROGRESS_DIALOG", SwitchSetting{&Settings::hideProgress, &Settings::setHideProgress}},
    }};
    return settings;
}

const Setting* settingOf(std::string_view key)
{
    const auto found = std::ranges::find(allSettings(), key, &Setting::key);
    return found == allSettings().end() ? nullptr : &*found;
}

std::string valueText(const Setting& setting, const Settings& settings)
{
    if (const auto* number = std::get_if<NumberSetting>(&setting.access))
        return std::to_string((settings.*number->get)());
    return (settings.*std::get<SwitchSetting>(setting.access).get)() ? "yes" : "no";
}

Checked<std::uint64_t> numberFrom(const Setting& setting, const std::string& text, bool mayBeZero)
{
    std::uint64_t number = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (text.empty() || stop != end || error != std::errc{} || (number == 0 && !mayBeZero))
        return tl::unexpected(std::string(setting.key) + " needs a whole number" +
                              (mayBeZero ? "" : " greater than 0") + ", not '" + text + "'");
    return number;
}

Checked<bool> switchFrom(const Setting& setting, std::string text)
{
    std::ranges::transform(text, text.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    for (const char* word : {"yes", "true", "on", "1"})
        if (text == word) return true;
    for (const char* word : {"no", "false", "off", "0"})
        if (text == word) return false;
    return tl::unexpected(std::string(setting.key) + " is yes or no, not '" + text + "'");
}

/// With reconnection on, a pause and a number of tries are needed that the window, too, would save.
std::optional<std::string> refusalToReconnect(const Setting& setting, const Settings& settings, bool on)
{
    if (setting.key != "BXSYNC_HTTP_RECONNECTION" || !on) return std::nullopt;
    if (settings.reconnectInterval() == 0 || settings.reconnectLimit() == 0)
        return "set BXSYNC_HTTP_RECONNECTION_INTERVAL and BXSYNC_HTTP_RECONNECTION_LIMIT to more than 0 first";
    return std::nullopt;
}

std::optional<std::string> assign(const Setting& setting, Settings& settings, const std::string& text)
{
    if (const auto* number = std::get_if<NumberSetting>(&setting.access)) {
        const auto value = numberFrom(setting, text, setting.isForReconnection && !settings.reconnect());
        if (!value) return value.error();
        (settings.*number->set)(*value);
        return std::nullopt;
    }
    const auto value = switchFrom(setting, text);
    if (!value) return value.error();
    if (auto refusal = refusalToReconnect(setting, settings, *value)) return refusal;
    (settings.*std::get<SwitchSetting>(setting.access).set)(*value);
    return std::nullopt;
}

ExitStatus refuse(CommandContext& context, const std::string& complaint)
{
    context.console.error(complaint);
    return ExitStatus::usage;
}

ExitStatus refuseKey(CommandContext& context, const std::string& key)
{
    return refuse(context, "there is no setting '" + key + "'; see tidemark settings list");
}

ExitStatus saved(Settings& settings, CommandContext& context)
{
    if (const auto status = settings.synchronize(); !status) {
        context.console.error("the settings cannot be saved: " + status.error().description());
        return ExitStatus::configuration;
    }
    return ExitStatus::done;
}

} // namespace

ExitStatus run(const SettingsList&, BXSyncGlobalConf& settings, CommandContext& context)
{
    for (const auto& setting : allSettings())
        context.console.data(std::string(setting.key) + "=" + valueText(setting, settings));
    return ExitStatus::done;
}

ExitStatus run(const SettingsGet& command, BXSyncGlobalConf& settings, CommandContext& context)
{
    const auto* setting = settingOf(command.key);
    if (!setting) return refuseKey(context, command.key);
    context.console.data(valueText(*setting, settings));
    return ExitStatus::done;
}

ExitStatus run(const SettingsSet& command, BXSyncGlobalConf& settings, CommandContext& context)
{
    const auto* setting = settingOf(command.key);
    if (!setting) return refuseKey(context, command.key);
    if (const auto complaint = assign(*setting, settings, command.value)) return refuse(context, *complaint);
    return saved(settings, context);
}

ExitStatus run(const SettingsUnset& command, BXSyncGlobalConf& settings, CommandContext& context)
{
    const auto* setting = settingOf(command.key);
    if (!setting) return refuseKey(context, command.key);
    if (const auto* number = std::get_if<NumberSetting>(&setting->access))
        (settings.*number->set)(std::nullopt);
    else
        (settings.*std::get<SwitchSetting>(setting->access).set)(std::nullopt);
    return saved(settings, context);
}

} // namespace tidemark::cli
