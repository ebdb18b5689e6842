#include "app/qt/dialogs/QtDialogs.h"

#include <QFileDialog>
#include <QMessageBox>
#include <QPushButton>

#include "app/qt/Texts.h"
#include "app/qt/dialogs/CertificateTrustDialog.h"
#include "app/qt/dialogs/ConflictDialog.h"
#include "app/qt/dialogs/MessageBoxDialog.h"
#include "app/qt/dialogs/ModalQuestion.h"
#include "app/qt/dialogs/QuestionParts.h"
#include "app/qt/dialogs/ReauthenticationDialog.h"

namespace tidemark::qt {

namespace {

constexpr const char* table = "Dialogs";

QMessageBox::Icon iconOf(AlertStyle style)
{
    switch (style) {
    case AlertStyle::informational:
        return QMessageBox::Information;
    case AlertStyle::critical:
        return QMessageBox::Critical;
    case AlertStyle::warning:
        break;
    }
    return QMessageBox::Warning;
}

} // namespace

std::optional<BXSyncConfirmResult> QtDialogs::showMessageBox(const std::string& titleKey, const BXSyncConfirmInfo& info)
{
    MessageBoxDialog dialog(titleKey, info);
    ModalQuestion::ask(dialog);
    return dialog.answer();
}

std::optional<BXSyncConfirmResult> QtDialogs::showConflict(const BXSyncConfirmInfo& info)
{
    ConflictDialog dialog(info);
    ModalQuestion::ask(dialog);
    return dialog.answer();
}

bool QtDialogs::showReauthentication(BXSyncConf& conf, bool isProxy)
{
    auto& info = *conf.info();
    const auto message = isProxy ? text(table, "SIGN_IN_PROXY", {{"proxy", info.proxyHost()}})
                                 : text(table, "SIGN_IN_SERVER", {{"server", conf.serverURL()}});
    // Who had no password stored so far has to want it first.
    ReauthenticationDialog dialog(message, fromUtf8(isProxy ? info.proxyUsername() : info.username()),
                                  isProxy ? info.isUseProxyAuthorization() : info.isUseAuthorization());
    if (!dialog.ask()) return false;
    answered_(conf.name(), isProxy ? KeptCredentials::Of::proxy : KeptCredentials::Of::server, dialog.keeps());
    if (isProxy) {
        info.setProxyUsername(dialog.user());
        info.setProxyPassword(dialog.password());
        info.setIsUseProxyAuthorization(true);
    } else {
        info.setUsername(dialog.user());
        info.setPassword(dialog.password());
        info.setIsUseAuthorization(true);
    }
    return true;
}

bool QtDialogs::showUntrustedCertificate(BXSyncConf& conf)
{
    if (!CertificateTrustDialog(fromUtf8(conf.serverURL()), conf.info()->untrustedCertificate()).ask()) return false;
    // For this run; the configuration's own setting says it for good.
    conf.info()->setValidatesSecureCertificate(false);
    return true;
}

int QtDialogs::showAlert(const Alert& alert)
{
    QMessageBox box(iconOf(alert.style), fromUtf8(alert.title), breakable(fromUtf8(alert.message)));
    box.setTextFormat(Qt::PlainText);
    box.setAccessibleDescription(fromUtf8(alert.message));
    QStringList choices;
    for (const auto& choice : alert.choices)
        choices.append(fromUtf8(choice));
    std::vector<QPushButton*> buttons;
    for (const auto& choice : withMnemonics(choices))
        buttons.push_back(box.addButton(choice, buttons.empty() ? QMessageBox::RejectRole : QMessageBox::AcceptRole));
    box.setDefaultButton(buttons.front());
    box.setEscapeButton(buttons.front());
    ModalQuestion::ask(box);
    const auto chosen = std::find(buttons.begin(), buttons.end(), box.clickedButton());
    return chosen == buttons.end() ? 0 : static_cast<int>(chosen - buttons.begin());
}

std::optional<std::string> QtDialogs::selectDirectory(const std::string& startPath, const std::string& message)
{
    QFileDialog dialog(nullptr, fromUtf8(message), fromUtf8(startPath));
    dialog.setFileMode(QFileDialog::Directory);
    dialog.setOption(QFileDialog::ShowDirsOnly);
    if (ModalQuestion::ask(dialog) != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return std::nullopt;
    return toUtf8(dialog.selectedFiles().front());
}

} // namespace tidemark::qt
