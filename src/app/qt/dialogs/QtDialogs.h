#pragma once

#include "Utils/AlertPresenter.h"
#include "app/BXSyncDialogEvent.h"

namespace tidemark::qt {

/// The questions of the engine and of the application's logic, as windows. Main thread.
class QtDialogs final : public BXSyncDialogs, public AlertPresenter
{
public:
    std::optional<BXSyncConfirmResult> showMessageBox(const std::string& titleKey,
                                                      const BXSyncConfirmInfo& info) override;
    std::optional<BXSyncConfirmResult> showConflict(const BXSyncConfirmInfo& info) override;
    bool showReauthentication(BXSyncConf& conf, bool isProxy) override;
    bool showUntrustedCertificate(BXSyncConf& conf) override;

    /// Dismissed it is the first choice, which is the harmless one.
    int showAlert(const Alert& alert) override;
    std::optional<std::string> selectDirectory(const std::string& startPath, const std::string& message) override;
};

} // namespace tidemark::qt
