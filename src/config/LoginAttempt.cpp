#include "config/LoginAttempt.h"

#include <algorithm>
#include <cctype>

#include "davclient/ASWDCmdSimple.h"
#include "platform/Url.h"

namespace tidemark {

namespace {

bool sameName(std::string_view a, std::string_view b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](unsigned char x, unsigned char y) { return std::tolower(x) == std::tolower(y); });
}

/// A challenge that was not or could not be answered is an error of the command but not of the connection: there the
/// status says what is missing.
std::optional<Error> failureOf(const ASWDCmd& command)
{
    const int status = command.statusCode();
    const bool challenged = status == 401 || status == 407;
    const auto connection = command.connection();
    return challenged && connection ? connection->error() : command.error();
}

Error errorOf(const ASWDCmd& command)
{
    if (command.error()) return *command.error();
    const int status = command.statusCode();
    const std::string text = "The server answered with status " + std::to_string(status) + ".";
    return {BXSyncConf::loginStatusDomain, status, {{Error::descriptionKey, text}}};
}

/// "" where an escape is malformed.
std::string urlDecoded(std::string text)
{
    std::replace(text.begin(), text.end(), '+', ' ');
    return percentDecode(text).value_or(std::string{});
}

} // namespace

LoginAttempt::LoginAttempt(std::shared_ptr<BXSyncConf> conf, BXSyncConf::LoginHandler loginHandler,
                           BXSyncConf::SuccessHandler success, BXSyncConf::FailureHandler failure)
    : conf_(std::move(conf)), loginHandler_(std::move(loginHandler)), success_(std::move(success)),
      failure_(std::move(failure))
{
}

void LoginAttempt::start()
{
    conf_->loginError_.reset();
    command_ = std::make_shared<ASWDCmdOptions>(conf_->url().withTrailingSlash(), conf_->info());
    // Holds this attempt until the handler has run.
    command_->setCompleteEventHandler([self = shared_from_this()] { self->finished(); });
    const bool allowed = conf_->setRunningCommand(command_);
    if (allowed && !conf_->url().empty() && command_->execute()) return;
    command_->setCompleteEventHandler({});
    fail(allowed && !conf_->requestsCancelled());
}

void LoginAttempt::finished()
{
    const auto command = std::move(command_);
    conf_->setRunningCommand(nullptr);
    const auto* head = command->responseHeader();
    const int status = command->statusCode();
    const auto error = failureOf(*command);
    const bool webDAV = !error && status == 200 && head && learn(head->header, *conf_);
    const auto reason = reasonFor(error, status, conf_->info()->validatesSecureCertificate());
    conf_->loginError_ = reason ? std::optional(errorOf(*command)) : std::nullopt;
    if (reason)
        retry(*reason);
    else if (webDAV)
        success_();
    else
        fail(false);
}

std::optional<LoginReason> LoginAttempt::reasonFor(const std::optional<Error>& error, int statusCode,
                                                   bool validatesCertificate)
{
    if (error) {
        const bool untrusted = error->userInfo.contains("ServerCertificateError") && validatesCertificate;
        return untrusted ? LoginReason::untrustedServerCertificate : LoginReason::connectionFailed;
    }
    if (statusCode == 200) return std::nullopt;
    if (statusCode == 401) return LoginReason::serverAuthentication;
    if (statusCode == 407) return LoginReason::proxyAuthentication;
    return LoginReason::connectionFailed;
}

namespace {

/// What an earlier answer said may have been another server's.
void forgetServer(BXSyncConf& conf)
{
    conf.setMarlockVersion({});
    conf.setReadonly(false);
    conf.setPrimary({});
    conf.setServerUser({});
    conf.setServerOS(ServerOS::unknown);
    conf.setServercryptofile(ServerCryptoFile::unknown);
}

} // namespace

bool LoginAttempt::learn(const HttpHeader& header, BXSyncConf& conf)
{
    forgetServer(conf);
    bool webDAV = false;
    for (const auto& [name, value] : header.fields()) {
        if (sameName(name, "DAV"))
            webDAV = webDAV || value.find('1') != std::string::npos;
        else if (sameName(name, "X-BX-Marlock-Version"))
            conf.setMarlockVersion(value);
        else if (sameName(name, "X-BX-Readonly-Enable"))
            conf.setReadonly(true);
        else if (sameName(name, "X-BX-Primary"))
            conf.setPrimary(urlDecoded(value));
        else if (sameName(name, "X-BX-User"))
            conf.setServerUser(urlDecoded(value));
        else if (sameName(name, "X-BX-Platform") && !value.empty())
            conf.setServerOS(urlDecoded(value) == "w" ? ServerOS::windows : ServerOS::other);
        else if (sameName(name, "X-BX-CryptoFile-Enable"))
            conf.setServercryptofile(value == "2" ? ServerCryptoFile::version2 : ServerCryptoFile::other);
    }
    return webDAV;
}

void LoginAttempt::retry(LoginReason reason)
{
    if (conf_->requestsCancelled()) return fail(false);
    if (!loginHandler_) return fail(true);
    if (!loginHandler_(*conf_, reason)) return fail(false);
    start();
}

void LoginAttempt::fail(bool nobodyAsked)
{
    conf_->setRunningCommand(nullptr);
    failure_(nobodyAsked);
}

} // namespace tidemark
