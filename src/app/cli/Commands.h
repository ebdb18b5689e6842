#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "app/BXSyncMaintenanceMenu.h"
#include "app/cli/Console.h"

/// What a command line asks for, one type per command.
namespace tidemark::cli {

enum class PasswordSource
{
    none,
    standardInput,
    file
};

/// The options of "config create" and "config set"; what was not given stays as it is.
struct ConfigurationOptions
{
    std::optional<std::string> url;
    std::optional<std::string> local;
    std::optional<std::string> mode;
    std::optional<std::string> user;
    PasswordSource passwordSource = PasswordSource::none;
    std::string passwordFile;
    std::optional<std::string> onConflict;
    std::optional<std::string> onServerDelete;
    std::optional<std::string> onLocalDelete;
    std::optional<std::string> logDirectory;
    std::optional<int> logDays;
    std::optional<bool> enabled;
    std::optional<bool> autosync;
    /// Identifier of a client identity; "none" for none.
    std::optional<std::string> identity;
    std::optional<bool> ignoreServerCert;
    /// "HOST:PORT", or "none".
    std::optional<std::string> proxy;
    std::optional<std::string> proxyUser;
    bool proxyPasswordFromInput = false;
    bool keyFromInput = false;
    bool noKey = false;
    /// Do not ask about a key that is set or changed after the first sync.
    bool yes = false;
};

struct IdentityImport
{
    std::string file;
    std::string label;
};

struct IdentityList
{
};

struct IdentityRemove
{
    std::string identifier;
};

struct ConfigCreate
{
    std::string name;
    ConfigurationOptions options;
};

struct ConfigList
{
    bool json = false;
};

struct ConfigShow
{
    std::string name;
    bool json = false;
};

struct ConfigSet
{
    std::string name;
    ConfigurationOptions options;
};

struct ConfigRename
{
    std::string name;
    std::string newName;
};

struct ConfigDelete
{
    std::string name;
    /// Do not ask.
    bool yes = false;
};

struct ConfigCheck
{
    std::string name;
};

enum class DeleteAnswer
{
    cancel,
    restore,
    remove,
    nothing
};
enum class ConflictAnswer
{
    cancel,
    recent,
    upload,
    download
};

struct Sync
{
    /// Empty: every enabled configuration.
    std::vector<std::string> names;
    bool skipErrors = false;
    std::optional<DeleteAnswer> onDelete;
    std::optional<ConflictAnswer> onConflict;
    bool json = false;
};

struct List
{
    /// Empty: every enabled configuration.
    std::vector<std::string> names;
    bool json = false;
};

/// "run"
struct Serve
{
    std::optional<DeleteAnswer> onDelete;
    std::optional<ConflictAnswer> onConflict;
};

/// "status"
struct ShowStatus
{
    bool json = false;
};

/// "reset", "download-all", "upload-all"
struct Maintain
{
    BXSyncMaintenanceMenu::Operation operation = BXSyncMaintenanceMenu::Operation::syncReset;
    /// Empty: every enabled configuration.
    std::vector<std::string> names;
    /// Do not ask.
    bool yes = false;
};

struct ScheduleAdd
{
    std::string name;
    std::string schedule;
};

struct ScheduleList
{
    std::string name;
};

struct ScheduleRemove
{
    std::string name;
    /// As "list" counts, from 1.
    int number = 0;
};

struct SettingsList
{
};

struct SettingsGet
{
    std::string key;
};

struct SettingsSet
{
    std::string key;
    std::string value;
};

struct SettingsUnset
{
    std::string key;
};

using Command =
    std::variant<ConfigCreate, ConfigList, ConfigShow, ConfigSet, ConfigRename, ConfigDelete, ConfigCheck, Sync, List,
                 IdentityImport, IdentityList, IdentityRemove, Serve, ShowStatus, Maintain, ScheduleAdd, ScheduleList,
                 ScheduleRemove, SettingsList, SettingsGet, SettingsSet, SettingsUnset>;

struct GlobalOptions
{
    std::optional<std::string> configDirectory;
    Verbosity verbosity = Verbosity::normal;
};

} // namespace tidemark::cli
