#pragma once

#include <functional>
#include <string>

#include "Utils/AlertPresenter.h"
#include "app/BXSyncDialogEvent.h"
#include "app/KeptCredentials.h"

namespace tidemark::qt {

/// The questions of the engine and of the application's logic, as windows. Main thread.
class QtDialogs final : public BXSyncDialogs, public AlertPresenter
{
public:
    /// Told of every answer to a sign-in, and whether it is to be kept. Does nothing unless set.
    using CredentialsAnswered = std::function<void(const std::string& name, KeptCredentials::Of of, bool toBeKept)>;
    void setCredentialsAnswered(CredentialsAnswered answered) { answered_ = std::move(answered); }

    std::optional<BXSyncConfirmResult> showMessageBox(const std::string& titleKey,
                                                      const BXSyncConfirmInfo& info) override;
    std::optional<BXSyncConfirmResult> showConflict(const BXSyncConfirmInfo& info) override;
    bool showReauthentication(BXSyncConf& conf, bool isProxy) override;
    bool showUntrustedCertificate(BXSyncConf& conf) override;

    /// Dismissed it is the first choice, which is the harmless one.
    int showAlert(const Alert& alert) override;
    std::optional<std::string> selectDirectory(const std::string& startPath, const std::string& message) override;

private:
    CredentialsAnswered answered_ = [](const std::string&, KeptCredentials::Of, bool) {};
};

} // namespace tidemark::qt
