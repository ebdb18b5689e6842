#include "app/cli/ConfigurationEditor.h"

#include "app/cli/ConfigurationWords.h"
#include "app/cli/ConnectionEditor.h"
#include "app/cli/Console.h"
#include "app/cli/Secrets.h"
#include "app/cli/Terminal.h"
#include "config/BXSyncConfigManager.h"
#include "platform/FileSystem.h"

namespace tidemark::cli {

namespace {

/// The options whose values need a check, checked.
struct CheckedOptions
{
    std::optional<Url> url;
    std::optional<std::string> local;
    std::optional<std::string> logDirectory;
    std::optional<std::string> password;
    ConnectionChanges connection;
};

/// Puts the checked form of a given option where it belongs; the error passes through.
template <class T>
Checked<void> take(std::optional<T>& target, Checked<T> checked)
{
    if (!checked) return tl::unexpected(checked.error());
    target = std::move(*checked);
    return {};
}

bool asksForPassword(const ConfigurationOptions& options, const CommandContext& context)
{
    return options.user && !options.user->empty() && options.passwordSource == PasswordSource::none &&
           context.terminal.isInteractive();
}

Checked<std::string> passwordAsked(CommandContext& context, const std::string& user)
{
    auto password = askSecret(context.console, context.terminal, "Password of " + user + ":");
    if (!password) return tl::unexpected(std::string("no password was given"));
    return *password;
}

Checked<void> checkPassword(const ConfigurationOptions& options, CommandContext& context, CheckedOptions& checked)
{
    if (options.passwordSource != PasswordSource::none)
        return take(checked.password, passwordFromSource(options, context.terminal));
    if (asksForPassword(options, context)) return take(checked.password, passwordAsked(context, *options.user));
    return {};
}

Checked<CheckedOptions> check(const ConfigurationOptions& options, const BXSyncConf& conf, CommandContext& context)
{
    CheckedOptions checked;
    Checked<void> status;
    if (options.url) status = take(checked.url, checkedUrl(*options.url));
    if (status && options.local) status = take(checked.local, checkedFolder(*options.local, context.workingDirectory));
    if (status && options.logDirectory)
        status = options.logDirectory->empty()
                     ? take(checked.logDirectory, Checked<std::string>(""))
                     : take(checked.logDirectory, checkedFolder(*options.logDirectory, context.workingDirectory));
    const bool hasUser = options.user ? !options.user->empty() : conf.info()->isUseAuthorization();
    if (status && options.passwordSource != PasswordSource::none && !hasUser)
        status = tl::unexpected(std::string("a password needs --user"));
    if (status) status = checkPassword(options, context, checked);
    if (status) {
        auto connection = checkConnection(options, conf, context);
        if (connection)
            checked.connection = std::move(*connection);
        else
            status = tl::unexpected(connection.error());
    }
    if (!status) return tl::unexpected(status.error());
    return checked;
}

/// Pairs the configuration with other folders.
void applyFolders(const CheckedOptions& checked, BXSyncConf& conf)
{
    const auto url = conf.serverURL();
    const auto local = conf.localPath();
    if (checked.url) conf.setServerURL(checked.url->absoluteString());
    if (checked.local) conf.setLocalPath(*checked.local);
    if (conf.serverURL() != url || conf.localPath() != local) conf.setDiscardPsi(true);
}

void applyCredentials(const ConfigurationOptions& options, const CheckedOptions& checked, ASHttpConnectInfo& info)
{
    if (options.user) {
        if (*options.user != info.username()) info.setPassword("");
        info.setUsername(*options.user);
        info.setIsUseAuthorization(!options.user->empty());
    }
    if (checked.password) info.setPassword(*checked.password);
}

void applyPolicies(const ConfigurationOptions& options, BXSyncConf& conf)
{
    if (options.mode) conf.setMode(modeFromWord(*options.mode).value_or(conf.mode()));
    if (options.onConflict) conf.setConflict(*options.onConflict);
    if (options.onServerDelete) conf.setServerDelete(*options.onServerDelete);
    if (options.onLocalDelete) conf.setLocalDelete(*options.onLocalDelete);
}

bool overlap(const std::string& a, const std::string& b)
{
    return isAtOrBelow(a, b) || isAtOrBelow(b, a);
}

} // namespace

Checked<void> applyOptions(const ConfigurationOptions& options, BXSyncConf& conf, CommandContext& context)
{
    const auto checked = check(options, conf, context);
    if (!checked) return tl::unexpected(checked.error());
    applyFolders(*checked, conf);
    applyCredentials(options, *checked, *conf.info());
    applyConnection(checked->connection, conf);
    applyPolicies(options, conf);
    if (checked->logDirectory) conf.setSyncLogPath(*checked->logDirectory);
    if (options.logDays) conf.setLogKeepDays(*options.logDays);
    if (options.enabled) conf.setEnable(*options.enabled);
    if (options.autosync) conf.setAutosync(*options.autosync);
    return {};
}

std::vector<std::string> configurationWarnings(const BXSyncConf& conf, const BXSyncConfigManager& store)
{
    std::vector<std::string> warnings;
    if (!fs::isFolder(conf.localPath()))
        warnings.push_back("the local folder " + conf.localPath() + " is not there yet");
    for (const auto& [name, other] : store.configs())
        if (other->identity() != conf.identity() && overlap(conf.localPath(), other->localPath()))
            warnings.push_back("the local folder overlaps with that of the configuration " + name + ", " +
                               other->localPath());
    const auto& info = *conf.info();
    if (info.isUseAuthorization() && info.password().empty())
        warnings.push_back("no password is stored for " + info.username());
    return warnings;
}

} // namespace tidemark::cli
