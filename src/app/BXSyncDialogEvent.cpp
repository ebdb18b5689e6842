#include "app/BXSyncDialogEvent.h"

#include "Utils/BXTidemarkUtils.h"

namespace tidemark {

std::optional<BXSyncConfirmResult> BXSyncDialogEvent::confirm(const BXSyncConfirmInfo& info)
{
    switch (info.type) {
    case BXSyncConfirmType::deletion:
        return deleteConfirm(info);
    case BXSyncConfirmType::conflict:
        return competitionConfirm(info);
    case BXSyncConfirmType::fileError:
        return errorSkipConfirm(info);
    case BXSyncConfirmType::message:
        return errorMessage(info);
    }
    return std::nullopt;
}

std::optional<BXSyncConfirmResult> BXSyncDialogEvent::deleteConfirm(const BXSyncConfirmInfo& info)
{
    return messageBox("DELETE_CONFIRMATION", info);
}

std::optional<BXSyncConfirmResult> BXSyncDialogEvent::competitionConfirm(const BXSyncConfirmInfo& info)
{
    std::optional<BXSyncConfirmResult> answer;
    BXTidemarkUtils::execMainThread([&] { answer = dialogs_.showConflict(info); });
    return answer;
}

std::optional<BXSyncConfirmResult> BXSyncDialogEvent::errorSkipConfirm(const BXSyncConfirmInfo& info)
{
    return messageBox("ERROR", info);
}

std::optional<BXSyncConfirmResult> BXSyncDialogEvent::errorMessage(const BXSyncConfirmInfo& info)
{
    return messageBox("ERROR", info);
}

std::optional<BXSyncConfirmResult> BXSyncDialogEvent::messageBox(const std::string& titleKey,
                                                                 const BXSyncConfirmInfo& info)
{
    std::optional<BXSyncConfirmResult> answer;
    BXTidemarkUtils::execMainThread([&] { answer = dialogs_.showMessageBox(titleKey, info); });
    return answer;
}

bool BXSyncDialogEvent::loginDialogEvent(BXSyncDialogs& dialogs, BXSyncConf& conf, LoginReason reason)
{
    bool again = false;
    BXTidemarkUtils::execMainThread([&] {
        switch (reason) {
        case LoginReason::serverAuthentication:
            again = dialogs.showReauthentication(conf, false);
            return;
        case LoginReason::proxyAuthentication:
            again = dialogs.showReauthentication(conf, true);
            return;
        case LoginReason::untrustedServerCertificate:
            again = dialogs.showUntrustedCertificate(conf);
            return;
        case LoginReason::connectionFailed:
            BXTidemarkUtils::showErrorAlert("CONNECTION_ERROR");
            return;
        }
    });
    return again;
}

} // namespace tidemark
