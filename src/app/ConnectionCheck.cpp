#include "app/ConnectionCheck.h"

#include "davclient/ASHttpConnection.h"
#include "platform/RunLoop.h"
#include "security/BXSyncCertificateManager.h"

namespace tidemark {

using Kind = ConnectionVerdict::Kind;

ConnectionCheck::ConnectionCheck(const ConfigurationDraft& draft, BXSyncCertificateManager& certificates)
    : conf_(std::make_shared<BXSyncConf>())
{
    draft.apply(*conf_);
    if (const auto found = certificates.getCert(draft.certificateId))
        conf_->info()->setClientCertificates(found->front());
}

ConnectionVerdict ConnectionCheck::run()
{
    auto verdict = signIn();
    if (!verdict && !cancelled_) verdict = checkFolder();
    if (cancelled_) return {.kind = Kind::cancelled};
    return *verdict;
}

void ConnectionCheck::cancel()
{
    cancelled_ = true;
    conf_->cancelRequests();
}

/// Nothing once the server has let us in.
std::optional<ConnectionVerdict> ConnectionCheck::signIn()
{
    bool ended = false;
    std::optional<ConnectionVerdict> verdict;
    const auto refused = [&](const BXSyncConf&, LoginReason reason) {
        verdict = refusal(reason);
        return false;
    };
    const auto failed = [&](bool notStarted) {
        if (!verdict) verdict = ConnectionVerdict{.kind = notStarted ? Kind::noConnection : Kind::notWebDav};
        ended = true;
    };
    conf_->login(
        refused, [&] { ended = true; }, failed);
    // A cancel that came before was for no login yet.
    if (cancelled_) conf_->cancelRequests();
    RunLoop::current()->runUntil([&] { return ended; });
    return verdict;
}

ConnectionVerdict ConnectionCheck::refusal(LoginReason reason) const
{
    switch (reason) {
    case LoginReason::serverAuthentication:
        return {.kind = Kind::signIn};
    case LoginReason::proxyAuthentication:
        return {.kind = Kind::proxySignIn};
    case LoginReason::untrustedServerCertificate:
        if (const auto certificate = conf_->info()->untrustedCertificate())
            return {.kind = Kind::untrustedCertificate, .certificate = *certificate};
        return {.kind = Kind::untrustedCertificate};
    case LoginReason::connectionFailed:
        break;
    }
    const auto& error = conf_->loginError();
    const bool aboutOurs = error && error->userInfo.contains(ASHttpConnection::clientCertificateErrorKey);
    return {.kind = aboutOurs ? Kind::clientCertificate : Kind::noConnection};
}

ConnectionVerdict ConnectionCheck::checkFolder()
{
    const auto fault = conf_->checkFolderURL();
    if (fault) return {.kind = Kind::folder, .folderFault = *fault};
    return {.kind = Kind::usable, .marlockVersion = conf_->marlockVersion()};
}

} // namespace tidemark
