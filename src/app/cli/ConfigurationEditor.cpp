#include "app/cli/ConfigurationEditor.h"

#include "app/ConfigurationWarnings.h"
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

std::string sentence(const ConfigurationWarning& warning, const BXSyncConf& conf, const BXSyncConfigManager& store)
{
    switch (warning.kind) {
    case ConfigurationWarning::Kind::noLocalFolder:
        return "the local folder " + conf.localPath() + " is not there yet";
    case ConfigurationWarning::Kind::overlaps:
        return "the local folder overlaps with that of the configuration " + warning.other + ", " +
               store.configs().at(warning.other)->localPath();
    case ConfigurationWarning::Kind::noPassword:
        break;
    }
    return "no password is stored for " + conf.info()->username();
}

} // namespace

Checked<void> applyOptions(const ConfigurationOptions& options, BXSyncConf& conf, CommandContext& context)
{
    const auto checked = check(options, conf, context);
    if (!checked) return tl::unexpected(checked.error());
    pairFolders(conf, checked->url ? checked->url->absoluteString() : conf.serverURL(),
                checked->local.value_or(conf.localPath()));
    applyCredentials(options, *checked, *conf.info());
    applyConnection(checked->connection, conf);
    applyPolicies(options, conf);
    if (checked->logDirectory) conf.setSyncLogPath(*checked->logDirectory);
    if (options.logDays) conf.setLogKeepDays(*options.logDays);
    if (options.enabled) conf.setEnable(*options.enabled);
    if (options.autosync) conf.setAutosync(*options.autosync);
    return {};
}

std::vector<std::string> warningSentences(const BXSyncConf& conf, const BXSyncConfigManager& store)
{
    std::vector<std::string> sentences;
    for (const auto& warning : configurationWarnings(conf, store))
        sentences.push_back(sentence(warning, conf, store));
    return sentences;
}

} // namespace tidemark::cli
