#include "app/cli/TerminalLogin.h"

#include "app/cli/Console.h"
#include "app/cli/Secrets.h"
#include "app/cli/Terminal.h"
#include "davclient/ASHttpConnection.h"

namespace tidemark::cli {

namespace {

struct Credentials
{
    std::string username;
    std::string password;
};

/// An empty answer to the first question keeps the user there is; nothing where the person gives up.
std::optional<Credentials> askCredentials(CommandContext& context, const std::string& realm, const std::string& present)
{
    const auto hint = present.empty() ? "" : " [" + present + "]";
    const auto username = askLine(context.console, context.terminal, "User of " + realm + hint + ":");
    if (!username) return std::nullopt;
    const auto effective = username->empty() ? present : *username;
    if (effective.empty()) return std::nullopt;
    const auto password = askSecret(context.console, context.terminal, "Password of " + effective + ":");
    if (!password) return std::nullopt;
    return Credentials{effective, *password};
}

std::string hostText(const BXSyncConf& conf)
{
    return conf.url().host() + ":" + std::to_string(conf.url().port());
}

std::string connectionFailure(const BXSyncConf& conf)
{
    const Error error = conf.loginError().value_or(Error{});
    if (error.domain == BXSyncConf::loginStatusDomain)
        return "the server " + hostText(conf) + " answered with status " + std::to_string(error.code);
    const auto own = error.value(ASHttpConnection::clientCertificateErrorKey);
    if (own == "ClientCertificateNone") return "the server " + hostText(conf) + " asks for a client certificate";
    if (!own.empty()) return "the server " + hostText(conf) + " does not accept the client certificate";
    const auto reason = error.description();
    return "there is no connection to " + conf.serverURL() + (reason.empty() ? "" : ": " + reason);
}

} // namespace

bool TerminalLogin::mend(BXSyncConf& conf, LoginReason reason)
{
    reason_ = reason;
    const bool mended = context_.terminal.isInteractive() && ask(conf, reason);
    // What comes of the next try is said anew.
    if (mended) reason_.reset();
    return mended;
}

bool TerminalLogin::ask(BXSyncConf& conf, LoginReason reason)
{
    switch (reason) {
    case LoginReason::serverAuthentication:
        return askServerCredentials(conf);
    case LoginReason::proxyAuthentication:
        return askProxyCredentials(conf);
    case LoginReason::untrustedServerCertificate:
        return askTrust(conf);
    case LoginReason::connectionFailed:
        return false;
    }
    return false;
}

std::string TerminalLogin::failure(const BXSyncConf& conf) const
{
    if (!reason_) return conf.serverURL() + " is not a WebDAV server, or could not be asked";
    switch (*reason_) {
    case LoginReason::serverAuthentication:
        return "the server " + hostText(conf) + " does not accept the user or the password";
    case LoginReason::proxyAuthentication:
        return "the proxy does not accept the user or the password";
    case LoginReason::untrustedServerCertificate:
        return "the certificate of the server " + hostText(conf) + " is not trusted";
    case LoginReason::connectionFailed:
        return connectionFailure(conf);
    }
    return "";
}

bool TerminalLogin::askServerCredentials(BXSyncConf& conf)
{
    context_.console.question(failure(conf));
    auto& info = *conf.info();
    const auto credentials = askCredentials(context_, hostText(conf), info.username());
    if (!credentials) return false;
    info.setUsername(credentials->username);
    info.setPassword(credentials->password);
    info.setIsUseAuthorization(true);
    return true;
}

bool TerminalLogin::askProxyCredentials(BXSyncConf& conf)
{
    context_.console.question(failure(conf));
    auto& info = *conf.info();
    const auto credentials = askCredentials(context_, "the proxy " + info.proxyHost(), info.proxyUsername());
    if (!credentials) return false;
    info.setProxyUsername(credentials->username);
    info.setProxyPassword(credentials->password);
    info.setIsUseProxyAuthorization(true);
    return true;
}

void TerminalLogin::showCertificate(const ServerCertificate& certificate)
{
    constexpr const char* pattern = "yyyy/MM/dd HH:mm:ss";
    auto& console = context_.console;
    console.question("  subject      " + certificate.subject);
    console.question("  issuer       " + certificate.issuer);
    console.question("  valid        " + dates::formatLocal(certificate.validFrom, pattern) + " to " +
                     dates::formatLocal(certificate.validUntil, pattern));
    console.question("  SHA-256      " + certificate.fingerprint);
}

bool TerminalLogin::askTrust(BXSyncConf& conf)
{
    context_.console.question(failure(conf));
    if (const auto certificate = conf.info()->untrustedCertificate()) showCertificate(*certificate);
    const auto answer = askLine(context_.console, context_.terminal, "Trust it for this run all the same? [y/N]");
    if (!answer || (*answer != "y" && *answer != "Y" && *answer != "yes")) return false;
    conf.info()->setValidatesSecureCertificate(false);
    return true;
}

} // namespace tidemark::cli
