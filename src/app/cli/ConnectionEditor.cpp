#include "app/cli/ConnectionEditor.h"

#include <charconv>

#include "app/cli/Console.h"
#include "app/cli/Secrets.h"
#include "app/cli/Terminal.h"
#include "config/BXSyncConf.h"
#include "platform/FileSystem.h"
#include "security/BXSyncCertificateManager.h"

namespace tidemark::cli {

namespace {

constexpr const char* none = "none";
constexpr int highestPort = 65535;

Checked<std::string> checkedIdentity(const std::string& identifier)
{
    if (identifier == none) return std::string();
    if (!BXSyncCertificateManager::getInstance().getCert(identifier))
        return tl::unexpected("there is no identity '" + identifier + "'; see tidemark identity list");
    return identifier;
}

/// Whether the key may become `key`: files that are on the server stay as they are, so a person has to know.
Checked<void> agreeToKey(const std::string& key, bool yes, const BXSyncConf& conf, CommandContext& context)
{
    const bool hasSynchronised = !conf.syncinfoPath().empty() && fs::exists(conf.syncinfoPath()) && !conf.discardPsi();
    if (key == conf.encryptKey() || !hasSynchronised) return {};
    context.console.question(
        "This configuration has been synchronised before. Files on the server stay as they are until they are "
        "uploaded again: with the changed key they cannot be read from there. \"tidemark upload-all " +
        conf.name() + "\" uploads all of them again.");
    if (yes) return {};
    if (!context.terminal.isInteractive())
        return tl::unexpected(std::string("a changed key needs --yes where nobody can be asked"));
    const auto answer = askLine(context.console, context.terminal, "Change the key? [y/N]");
    if (answer && (*answer == "y" || *answer == "Y" || *answer == "yes")) return {};
    return tl::unexpected(std::string("the key stays as it is"));
}

Checked<void> checkProxyOptions(const ConfigurationOptions& options, const BXSyncConf& conf, CommandContext& context,
                                ConnectionChanges& changes)
{
    changes.removesProxy = options.proxy == none;
    if (options.proxy && !changes.removesProxy) {
        auto proxy = checkedProxy(*options.proxy);
        if (!proxy) return tl::unexpected(proxy.error());
        changes.proxy = std::move(*proxy);
    }
    changes.proxyUser = options.proxyUser;
    const bool hasProxy = changes.proxy || (conf.info()->isUseProxy() && !changes.removesProxy);
    if ((options.proxyUser || options.proxyPasswordFromInput) && !hasProxy)
        return tl::unexpected(std::string("a user or password of the proxy needs --proxy"));
    const bool hasUser = options.proxyUser ? !options.proxyUser->empty() : conf.info()->isUseProxyAuthorization();
    if (!options.proxyPasswordFromInput) return {};
    if (!hasUser) return tl::unexpected(std::string("a password of the proxy needs --proxy-user"));
    auto password = secretFromInput(context.terminal, "the proxy's password");
    if (!password) return tl::unexpected(password.error());
    changes.proxyPassword = std::move(*password);
    return {};
}

Checked<void> checkKeyOptions(const ConfigurationOptions& options, const BXSyncConf& conf, CommandContext& context,
                              ConnectionChanges& changes)
{
    if (options.noKey) changes.key = std::string();
    if (options.keyFromInput) {
        auto key = secretFromInput(context.terminal, "the key");
        if (!key) return tl::unexpected(key.error());
        changes.key = std::move(*key);
    }
    if (!changes.key) return {};
    return agreeToKey(*changes.key, options.yes, conf, context);
}

} // namespace

Checked<ProxyAddress> checkedProxy(std::string_view text)
{
    // What is wrong with such a text is not shown: it may hold a password.
    const auto shown = text.find('@') == std::string_view::npos ? "'" + std::string(text) + "'" : std::string("that");
    const auto complaint = tl::unexpected(shown + " is no proxy; write HOST:PORT");
    const auto colon = text.rfind(':');
    if (colon == std::string_view::npos) return complaint;
    auto host = text.substr(0, colon);
    const auto digits = text.substr(colon + 1);
    int port = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), port);
    if (error != std::errc() || end != digits.data() + digits.size() || port < 1 || port > highestPort)
        return complaint;
    if (!isProxyHost(host)) return complaint;
    return ProxyAddress{std::string(host), port};
}

Checked<ConnectionChanges> checkConnection(const ConfigurationOptions& options, const BXSyncConf& conf,
                                           CommandContext& context)
{
    ConnectionChanges changes;
    changes.ignoreServerCert = options.ignoreServerCert;
    if (options.identity) {
        auto identity = checkedIdentity(*options.identity);
        if (!identity) return tl::unexpected(identity.error());
        changes.identity = std::move(*identity);
    }
    if (const auto proxy = checkProxyOptions(options, conf, context, changes); !proxy)
        return tl::unexpected(proxy.error());
    if (const auto key = checkKeyOptions(options, conf, context, changes); !key) return tl::unexpected(key.error());
    return changes;
}

void applyConnection(const ConnectionChanges& changes, BXSyncConf& conf)
{
    auto& info = *conf.info();
    if (changes.identity) conf.setCertificateId(*changes.identity);
    if (changes.ignoreServerCert) conf.setIgnoreServerCert(*changes.ignoreServerCert);
    if (changes.key) conf.setEncryptKey(*changes.key);
    if (changes.removesProxy) {
        info.setIsUseProxy(false);
        info.setIsUseProxyAuthorization(false);
        info.setProxyPassword("");
    }
    if (changes.proxy) {
        info.setIsUseProxy(true);
        info.setProxyHost(changes.proxy->host);
        info.setProxyPort(changes.proxy->port);
    }
    if (changes.proxyUser) {
        if (*changes.proxyUser != info.proxyUsername()) info.setProxyPassword("");
        info.setProxyUsername(*changes.proxyUser);
        info.setIsUseProxyAuthorization(!changes.proxyUser->empty());
    }
    if (changes.proxyPassword) info.setProxyPassword(*changes.proxyPassword);
}

} // namespace tidemark::cli
