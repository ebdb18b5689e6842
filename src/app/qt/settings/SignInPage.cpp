#include "app/qt/settings/SignInPage.h"

#include <QCheckBox>
#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

#include "app/qt/Texts.h"
#include "app/qt/dialogs/CertificateChooserDialog.h"
#include "app/qt/settings/FieldNote.h"
#include "app/qt/settings/IdentityImport.h"
#include "app/qt/settings/ServerCheck.h"
#include "app/qt/settings/SettingsQuestions.h"
#include "app/qt/settings/WrappedText.h"
#include "security/BXSyncCertificateManager.h"

namespace tidemark::qt {

namespace {

IdentityStore& identities()
{
    return BXSyncCertificateManager::getInstance().store();
}

} // namespace

SignInPage::SignInPage(Draft draft, QWidget* parent)
    : DraftPage(parent), draft_(std::move(draft)), user_(makeText()), password_(makeSecret()), identity_(new QComboBox),
      ignoreCertificate_(makeSwitch("IGNORE_CERTIFICATE")), usesProxy_(makeSwitch("USE_PROXY")), proxyHost_(makeText()),
      proxyPort_(makeNumber()), proxyUser_(makeText()), proxyPassword_(makeSecret()),
      check_(new QPushButton(textOf("CHECK"))), answer_(new WrappedText)
{
    addRow("USER", user_);
    addNote(user_, Field::user, password_);
    addRow("PASSWORD", password_);
    addRow("IDENTITY", identity_, makeIdentityRow());
    identityNote_ = new FieldNote(identity_);
    addWide(identityNote_);
    addWide(ignoreCertificate_);
    warning_ = addHint(textOf("IGNORE_CERTIFICATE_WARNING"));
    addWide(usesProxy_);
    addRow("PROXY_HOST", proxyHost_);
    addNote(proxyHost_, Field::proxyHost);
    addRow("PROXY_PORT", proxyPort_);
    addNote(proxyPort_, Field::proxyPort);
    addRow("PROXY_USER", proxyUser_);
    addNote(proxyUser_, Field::proxyUser, proxyPassword_);
    addRow("PROXY_PASSWORD", proxyPassword_);
    addWide(makeCheckRow());
    for (auto* box : {ignoreCertificate_, usesProxy_})
        connect(box, &QCheckBox::toggled, this, &SignInPage::showProxy);
    showProxy();
}

SignInPage::~SignInPage() = default;

QWidget* SignInPage::makeIdentityRow()
{
    connect(identity_, &QComboBox::activated, this, [this] {
        identityNote_->setFault({});
        emit changed();
    });
    auto* choose = new QPushButton(textOf("CHOOSE_IDENTITY"));
    connect(choose, &QPushButton::clicked, this, &SignInPage::choose);
    auto* import = new QPushButton(textOf("IMPORT"));
    connect(import, &QPushButton::clicked, this, &SignInPage::import);
    auto* row = new QWidget;
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins({});
    layout->addWidget(identity_, 1);
    layout->addWidget(choose);
    layout->addWidget(import);
    return row;
}

QWidget* SignInPage::makeCheckRow()
{
    connect(check_, &QPushButton::clicked, this, &SignInPage::startCheck);
    auto* row = new QWidget;
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins({});
    layout->addWidget(check_);
    layout->addWidget(answer_, 1);
    return row;
}

void SignInPage::fillIdentities(const std::string& chosen)
{
    identity_->clear();
    identityNote_->setFault({});
    identity_->addItem(textOf("IDENTITY_NONE"), QString());
    for (const auto& identity : identities().list().identities) {
        const auto issuer =
            identity.issuer ? fromUtf8(*identity.issuer) : text("TidemarkResource", "UNKNOWN_ISSR_CERTIFICATE");
        identity_->addItem(text("Settings", "IDENTITY_ENTRY",
                                {{"label", identity.label},
                                 {"issuer", toUtf8(issuer)},
                                 {"expires", dates::formatLocal(identity.expires, "yyyy/MM/dd")}}),
                           fromUtf8(identity.identifier));
    }
    identity_->setCurrentIndex(std::max(identity_->findData(fromUtf8(chosen)), 0));
}

void SignInPage::choose()
{
    CertificateChooserDialog chooser(this);
    const auto chosen = BXSyncCertificateManager::getInstance().selectCert(chooser);
    if (!chosen) return;
    fillIdentities(*chosen);
    emit changed();
}

void SignInPage::import()
{
    const auto imported = importIdentity(this);
    identityNote_->setFault(imported.fault);
    if (imported.identifier.empty()) return;
    fillIdentities(imported.identifier);
    emit changed();
}

void SignInPage::showProxy()
{
    for (auto* field : {proxyHost_, proxyPort_, proxyUser_, proxyPassword_})
        field->setEnabled(usesProxy_->isChecked());
    if (!usesProxy_->isChecked()) clearNotes({Field::proxyHost, Field::proxyPort, Field::proxyUser});
    warning_->setVisible(ignoreCertificate_->isChecked());
}

void SignInPage::startCheck()
{
    const auto asked = draft_();
    const auto problems = asked.serverProblems();
    if (auto* field = showProblems(problems)) field->setFocus();
    if (!problems.empty()) {
        // The address is on another page.
        const auto& first = problems.front();
        return answer_->say(first.field == Field::url ? text("Settings", first.key) : QString());
    }
    check_->setEnabled(false);
    answer_->say(textOf("CHECK_RUNNING"));
    running_ = std::make_unique<ServerCheck>(
        asked, [this, asked](const ConnectionVerdict& verdict) { checkEnded(verdict, asked); });
}

void SignInPage::checkEnded(const ConnectionVerdict& verdict, const ConfigurationDraft& asked)
{
    check_->setEnabled(true);
    answer_->say(ServerCheck::answer(verdict, asked));
    if (!verdict.certificate || !askTrustForGood(this, asked.url, *verdict.certificate)) return;
    // Another configuration may be shown since the question was asked.
    if (!running_) return;
    ignoreCertificate_->setChecked(true);
    emit changed();
    startCheck();
}

void SignInPage::forgetCheck()
{
    running_.reset();
    check_->setEnabled(true);
    answer_->say({});
}

void SignInPage::load(const ConfigurationDraft& draft)
{
    forgetCheck();
    user_->setText(fromUtf8(draft.user));
    password_->setText(fromUtf8(draft.password));
    fillIdentities(draft.certificateId);
    ignoreCertificate_->setChecked(draft.ignoreServerCert);
    usesProxy_->setChecked(draft.usesProxy);
    proxyHost_->setText(fromUtf8(draft.proxyHost));
    proxyPort_->setText(fromUtf8(draft.proxyPort));
    proxyUser_->setText(fromUtf8(draft.proxyUser));
    proxyPassword_->setText(fromUtf8(draft.proxyPassword));
}

void SignInPage::store(ConfigurationDraft& draft) const
{
    draft.user = toUtf8(user_->text());
    draft.password = toUtf8(password_->text());
    draft.certificateId = toUtf8(identity_->currentData().toString());
    draft.ignoreServerCert = ignoreCertificate_->isChecked();
    draft.usesProxy = usesProxy_->isChecked();
    draft.proxyHost = toUtf8(proxyHost_->text());
    draft.proxyPort = toUtf8(proxyPort_->text());
    draft.proxyUser = toUtf8(proxyUser_->text());
    draft.proxyPassword = toUtf8(proxyPassword_->text());
}

} // namespace tidemark::qt
