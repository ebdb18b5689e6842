#include "app/qt/settings/ServerCheck.h"

#include <atomic>
#include <vector>

#include <QCoreApplication>

#include "SyncLibrary/BXSyncUtils.h"
#include "app/qt/Texts.h"
#include "security/BXSyncCertificateManager.h"

namespace tidemark::qt {

namespace {

constexpr const char* table = "Settings";

const char* keyOf(ConnectionVerdict::Kind kind, const ConfigurationDraft& draft)
{
    using Kind = ConnectionVerdict::Kind;
    switch (kind) {
    case Kind::usable:
        return "CHECK_GOOD";
    case Kind::signIn:
        return draft.user.empty() ? "CHECK_SIGN_IN_NEEDED" : "CHECK_SIGN_IN_REFUSED";
    case Kind::proxySignIn:
        return draft.proxyUser.empty() ? "CHECK_PROXY_NEEDED" : "CHECK_PROXY_REFUSED";
    case Kind::untrustedCertificate:
        return "CHECK_NOT_TRUSTED";
    case Kind::clientCertificate:
        return "CHECK_CLIENT_CERTIFICATE";
    case Kind::noConnection:
        return "CHECK_NO_CONNECTION";
    case Kind::notWebDav:
    case Kind::folder:
    case Kind::cancelled:
        break;
    }
    return "CHECK_NO_SERVER";
}

} // namespace

QString ServerCheck::answer(const ConnectionVerdict& verdict, const ConfigurationDraft& draft)
{
    if (verdict.kind == ConnectionVerdict::Kind::folder)
        return fromUtf8(BXSyncUtils::localizeAndReplacementMessage(verdict.folderFault, "TidemarkResource", {}));
    if (!verdict.marlockVersion.empty())
        return text(table, "CHECK_GOOD_MARLOCK", {{"version", verdict.marlockVersion}});
    return text(table, keyOf(verdict.kind, draft));
}

struct ServerCheck::State
{
    explicit State(const ConfigurationDraft& draft) : check(draft, BXSyncCertificateManager::getInstance()) {}

    ConnectionCheck check;
    Finished finished; // main thread; empty once called off
    std::atomic<bool> isCalledOff = false;
    std::atomic<bool> hasEnded = false;
};

/// The checks that were called off and have not ended: looking a name up can take long. Main thread.
class ServerCheck::Ending
{
public:
    ~Ending()
    {
        for (auto& [state, thread] : threads_)
            thread.join();
    }
    static Ending& all()
    {
        static Ending ending;
        return ending;
    }
    void take(std::shared_ptr<State> state, std::thread thread)
    {
        threads_.emplace_back(std::move(state), std::move(thread));
        std::erase_if(threads_, [](auto& entry) {
            if (!entry.first->hasEnded) return false;
            entry.second.join();
            return true;
        });
    }

private:
    std::vector<std::pair<std::shared_ptr<State>, std::thread>> threads_;
};

ServerCheck::ServerCheck(const ConfigurationDraft& draft, Finished finished) : state_(std::make_shared<State>(draft))
{
    // Made after what the check uses, so that it ends before that does.
    Ending::all();
    state_->finished = std::move(finished);
    thread_ = std::thread([state = state_] {
        const auto verdict = state->check.run();
        state->hasEnded = true;
        if (state->isCalledOff) return;
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [state, verdict] {
                // The receiver may begin another check, which ends this one.
                if (const auto receiver = state->finished) receiver(verdict);
            },
            Qt::QueuedConnection);
    });
}

ServerCheck::~ServerCheck()
{
    state_->finished = nullptr;
    state_->isCalledOff = true;
    state_->check.cancel();
    Ending::all().take(state_, std::move(thread_));
}

} // namespace tidemark::qt
