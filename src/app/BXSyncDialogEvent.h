#pragma once

#include <optional>
#include <string>

#include "SyncLibrary/BXSyncConfirmInfo.h"
#include "config/BXSyncConf.h"

namespace tidemark {

/// The windows that questions of a run are shown in. Called on the main thread; each blocks until it is answered.
class BXSyncDialogs
{
public:
    virtual ~BXSyncDialogs() = default;
    /// The general message box; nothing when it ended without a button.
    virtual std::optional<BXSyncConfirmResult> showMessageBox(const std::string& titleKey,
                                                              const BXSyncConfirmInfo& info) = 0;
    /// Both dates, the most recent side, and the same codes as the message box.
    virtual std::optional<BXSyncConfirmResult> showConflict(const BXSyncConfirmInfo& info) = 0;
    /// Asks for user and password of the server or the proxy and puts them into `conf`; false when dismissed.
    virtual bool showReauthentication(BXSyncConf& conf, bool isProxy) = 0;
    /// Shows whose certificate it is and asks whether to trust it; "no" is the default.
    virtual bool showUntrustedCertificate(BXSyncConf& conf) = 0;
};

/// Answers the questions of a run by dialogs on the main thread, while the asking thread waits.
class BXSyncDialogEvent : public BXSyncConfirmDelegate
{
public:
    explicit BXSyncDialogEvent(BXSyncDialogs& dialogs) : dialogs_(dialogs) {}

    std::optional<BXSyncConfirmResult> confirm(const BXSyncConfirmInfo& info) override;

    std::optional<BXSyncConfirmResult> deleteConfirm(const BXSyncConfirmInfo& info);
    std::optional<BXSyncConfirmResult> competitionConfirm(const BXSyncConfirmInfo& info);
    std::optional<BXSyncConfirmResult> errorSkipConfirm(const BXSyncConfirmInfo& info);
    std::optional<BXSyncConfirmResult> errorMessage(const BXSyncConfirmInfo& info);

    /// Asks for what a login lacked; true when it is worth another try.
    static bool loginDialogEvent(BXSyncDialogs& dialogs, BXSyncConf& conf, LoginReason reason);

private:
    std::optional<BXSyncConfirmResult> messageBox(const std::string& titleKey, const BXSyncConfirmInfo& info);

    BXSyncDialogs& dialogs_;
};

} // namespace tidemark
