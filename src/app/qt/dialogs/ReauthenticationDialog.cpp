#include "app/qt/dialogs/ReauthenticationDialog.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/qt/Texts.h"
#include "app/qt/dialogs/ModalQuestion.h"
#include "app/qt/dialogs/QuestionParts.h"

namespace tidemark::qt {

namespace {

constexpr const char* table = "Dialogs";
constexpr int fieldWidthInCharacters = 36;

} // namespace

ReauthenticationDialog::ReauthenticationDialog(const QString& message, const QString& user, bool keeps, QWidget* parent)
    : QDialog(parent), user_(new QLineEdit(user)), password_(new QLineEdit),
      keeps_(new QCheckBox(text(table, "SIGN_IN_KEEP")))
{
    setWindowTitle(text(table, "SIGN_IN_TITLE"));
    setAccessibleDescription(message);
    auto* question = makeBody(message);
    password_->setEchoMode(QLineEdit::Password);
    auto* form = new QFormLayout;
    form->addRow(text(table, "SIGN_IN_USER"), user_);
    form->addRow(text(table, "SIGN_IN_PASSWORD"), password_);
    form->addRow(QString(), keeps_);
    keeps_->setChecked(keeps);
    for (auto* field : {user_, password_})
        field->setMinimumWidth(fontMetrics().averageCharWidth() * fieldWidthInCharacters);
    auto* buttons = new QDialogButtonBox;
    auto* signIn = buttons->addButton(text(table, "SIGN_IN"), QDialogButtonBox::AcceptRole);
    buttons->addButton(text("TidemarkResource", "CANCEL"), QDialogButtonBox::RejectRole);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    const auto showState = [this, signIn] { signIn->setEnabled(!user_->text().isEmpty()); };
    connect(user_, &QLineEdit::textChanged, this, showState);
    showState();
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(question);
    layout->addLayout(form);
    layout->addWidget(buttons);
    (user.isEmpty() ? user_ : password_)->setFocus();
}

bool ReauthenticationDialog::ask()
{
    return ModalQuestion::ask(*this) == Accepted;
}

std::string ReauthenticationDialog::user() const
{
    return toUtf8(user_->text());
}

std::string ReauthenticationDialog::password() const
{
    return toUtf8(password_->text());
}

bool ReauthenticationDialog::keeps() const
{
    return keeps_->isChecked();
}

} // namespace tidemark::qt
