#include "app/qt/settings/ServerCheck.h"

#include <optional>

#include <QCoreApplication>

#include "SyncLibrary/BXSyncUtils.h"
#include "app/qt/Texts.h"
#include "platform/RunLoop.h"
#include "security/BXSyncCertificateManager.h"

namespace tidemark::qt {

namespace {

constexpr const char* table = "Settings";

struct Answer
{
    bool isGood = false;
    QString text;
};

const char* keyOf(LoginReason reason)
{
    switch (reason) {
    case LoginReason::serverAuthentication:
        return "CHECK_SIGN_IN_REFUSED";
    case LoginReason::proxyAuthentication:
        return "CHECK_PROXY_REFUSED";
    case LoginReason::untrustedServerCertificate:
        return "CHECK_NOT_TRUSTED";
    case LoginReason::connectionFailed:
        return "CHECK_NO_CONNECTION";
    }
    return "CHECK_NO_SERVER";
}

/// Why the server did not let us in; nothing when it did.
std::optional<QString> signInRefusal(BXSyncConf& conf)
{
    bool ended = false;
    bool succeeded = false;
    const char* reasonKey = "CHECK_NO_SERVER";
    conf.login(
        [&](BXSyncConf&, LoginReason reason) {
            reasonKey = keyOf(reason);
            return false;
        },
        [&] { ended = succeeded = true; }, [&](bool) { ended = true; });
    RunLoop::current()->runUntil([&] { return ended; });
    return succeeded ? std::nullopt : std::optional(text(table, reasonKey));
}

Answer check(BXSyncConf& conf)
{
    if (auto refusal = signInRefusal(conf)) return {false, std::move(*refusal)};
    if (const auto refusal = conf.checkFolderURL())
        return {false, fromUtf8(BXSyncUtils::localizeAndReplacementMessage(*refusal, "TidemarkResource", {}))};
    const auto& version = conf.marlockVersion();
    return {true,
            version.empty() ? text(table, "CHECK_GOOD") : text(table, "CHECK_GOOD_MARLOCK", {{"version", version}})};
}

} // namespace

struct ServerCheck::State
{
    std::shared_ptr<BXSyncConf> conf = std::make_shared<BXSyncConf>();
    Finished finished; // main thread; empty once called off
};

ServerCheck::ServerCheck(const ConfigurationDraft& draft, Finished finished) : state_(std::make_shared<State>())
{
    draft.apply(*state_->conf);
    if (const auto identity = BXSyncCertificateManager::getInstance().getCert(draft.certificateId))
        state_->conf->info()->setClientCertificates(identity->front());
    state_->finished = std::move(finished);
    thread_ = std::thread([state = state_] {
        const auto answer = check(*state->conf);
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [state, answer] {
                if (state->finished) state->finished(answer.isGood, answer.text);
            },
            Qt::QueuedConnection);
    });
}

ServerCheck::~ServerCheck()
{
    state_->finished = nullptr;
    state_->conf->cancelRequests();
    thread_.join();
}

} // namespace tidemark::qt
