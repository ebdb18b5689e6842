#include "app/qt/dialogs/CertificateTrustDialog.h"

#include <QDateTime>
#include <QDialogButtonBox>
#include <QFontDatabase>
#include <QFormLayout>
#include <QLabel>
#include <QLocale>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/qt/ReadingOrder.h"
#include "app/qt/Texts.h"
#include "app/qt/dialogs/ModalQuestion.h"
#include "app/qt/dialogs/QuestionParts.h"

namespace tidemark::qt {

namespace {

constexpr const char* table = "Dialogs";
constexpr int bytesPerLine = 16;

QLabel* makeValue(const QString& content)
{
    auto* value = new QLabel(leftToRight(breakable(content)));
    value->setTextFormat(Qt::PlainText);
    value->setWordWrap(true);
    value->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    return value;
}

QString timeText(dates::Time time)
{
    const auto moment = QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(dates::toSeconds(time) * 1000));
    return QLocale().toString(moment, QLocale::ShortFormat);
}

/// In two lines, so that the window stays narrow.
QString fingerprintText(const std::string& fingerprint)
{
    auto shown = fromUtf8(fingerprint);
    constexpr int middle = bytesPerLine * 3;
    if (shown.size() > middle) shown[middle - 1] = '\n';
    return shown;
}

QFormLayout* makeDetails(const ServerCertificate& certificate)
{
    auto* form = new QFormLayout;
    form->addRow(text(table, "CERTIFICATE_SUBJECT"), makeValue(fromUtf8(certificate.subject)));
    form->addRow(text(table, "CERTIFICATE_ISSUER"), makeValue(fromUtf8(certificate.issuer)));
    form->addRow(text(table, "CERTIFICATE_VALID"),
                 makeValue(text(table, "CERTIFICATE_PERIOD",
                                {{"from", toUtf8(timeText(certificate.validFrom))},
                                 {"until", toUtf8(timeText(certificate.validUntil))}})));
    auto* fingerprint = makeValue({});
    fingerprint->setText(fingerprintText(certificate.fingerprint));
    fingerprint->setWordWrap(false);
    fingerprint->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    form->addRow(text(table, "CERTIFICATE_FINGERPRINT"), fingerprint);
    return form;
}

} // namespace

CertificateTrustDialog::CertificateTrustDialog(const QString& server,
                                               const std::shared_ptr<const ServerCertificate>& certificate,
                                               QWidget* parent, const QString& question)
    : QDialog(parent)
{
    setWindowTitle(text(table, "CERTIFICATE_TITLE"));
    const auto asked =
        question.isEmpty() ? text(table, "CERTIFICATE_QUESTION", {{"server", toUtf8(server)}}) : question;
    setAccessibleDescription(asked);
    auto* buttons = new QDialogButtonBox;
    auto* trust = buttons->addButton(text(table, "CERTIFICATE_TRUST"), QDialogButtonBox::AcceptRole);
    auto* refuse = buttons->addButton(text(table, "CERTIFICATE_REFUSE"), QDialogButtonBox::RejectRole);
    trust->setAutoDefault(false);
    refuse->setDefault(true);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(makeBody(asked));
    if (certificate) layout->addLayout(makeDetails(*certificate));
    layout->addWidget(buttons);
    refuse->setFocus();
}

bool CertificateTrustDialog::ask()
{
    return ModalQuestion::ask(*this) == Accepted;
}

} // namespace tidemark::qt
