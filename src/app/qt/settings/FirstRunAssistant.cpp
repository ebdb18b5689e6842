#include "app/qt/settings/FirstRunAssistant.h"

#include <QComboBox>
#include <QDir>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/ConfigurationInput.h"
#include "app/qt/ReadingOrder.h"
#include "app/qt/Texts.h"
#include "app/qt/dialogs/QuestionParts.h"
#include "app/qt/settings/FaultTexts.h"
#include "app/qt/settings/FieldNote.h"
#include "app/qt/settings/ServerCheck.h"
#include "app/qt/settings/SettingsQuestions.h"
#include "app/qt/settings/WrappedText.h"
#include "config/BXSyncConfigManager.h"
#include "platform/FileSystem.h"

namespace tidemark::qt {

namespace {

using Field = ConfigurationDraft::Field;

constexpr const char* table = "Settings";

/// A form at the top of the page.
QFormLayout* addForm(QWizardPage& page)
{
    auto* form = new QFormLayout;
    auto* layout = new QVBoxLayout(&page);
    layout->addLayout(form);
    layout->addStretch(1);
    return form;
}

} // namespace

FirstRunAssistant::FirstRunAssistant(BXSyncConfigManager& store, QWidget* parent) : QWizard(parent), store_(store)
{
    setWindowTitle(text(table, "ASSISTANT_TITLE"));
    setWizardStyle(QWizard::ModernStyle);
    setPage(serverPage, makeServerPage());
    setPage(folderPage, makeFolderPage());
    setPage(donePage, makeDonePage());
    setButtonText(QWizard::NextButton, text(table, "NEXT"));
    setButtonText(QWizard::BackButton, text(table, "BACK"));
    setButtonText(QWizard::FinishButton, text(table, "FINISH"));
    setButtonText(QWizard::CancelButton, text("TidemarkResource", "CANCEL"));
}

FirstRunAssistant::~FirstRunAssistant() = default;

QWizardPage* FirstRunAssistant::makeServerPage()
{
    auto* page = new QWizardPage;
    page->setTitle(text(table, "ASSISTANT_SERVER"));
    page->setSubTitle(text(table, "ASSISTANT_SERVER_HINT"));
    url_ = new QLineEdit;
    url_->setPlaceholderText(QStringLiteral("https://dav.example.org/folder"));
    user_ = new QLineEdit;
    password_ = new QLineEdit;
    password_->setEchoMode(QLineEdit::Password);
    answer_ = new WrappedText;
    auto* form = addForm(*page);
    form->addRow(text(table, "URL"), url_);
    form->addRow(QString(), serverNotes_.make(url_, Field::url));
    form->addRow(text(table, "USER"), user_);
    form->addRow(QString(), serverNotes_.make(user_, Field::user, password_));
    form->addRow(text(table, "PASSWORD"), password_);
    form->addRow(QString(), answer_);
    for (auto* field : {url_, user_, password_})
        connect(field, &QLineEdit::textEdited, this, &FirstRunAssistant::serverEdited);
    connect(url_, &QLineEdit::textEdited, this, [this] { ignoresCertificate_ = false; });
    return page;
}

QWizardPage* FirstRunAssistant::makeFolderPage()
{
    auto* page = new QWizardPage;
    page->setTitle(text(table, "ASSISTANT_FOLDER"));
    page->setSubTitle(text(table, "ASSISTANT_FOLDER_HINT"));
    name_ = new QLineEdit(text(table, "NEW_NAME"));
    local_ = new QLineEdit(QDir::home().filePath(QStringLiteral("Tidemark")));
    mode_ = new QComboBox;
    for (const auto& [key, mode] : {std::pair("MODE_TWO_WAY", SyncMode::twoWay),
                                    {"MODE_UPLOAD", SyncMode::uploadOnly},
                                    {"MODE_DOWNLOAD", SyncMode::downloadOnly}})
        mode_->addItem(text(table, key), static_cast<int>(mode));
    auto* choose = new QPushButton(text(table, "CHOOSE"));
    connect(choose, &QPushButton::clicked, this, [this] {
        const auto folder = chooseFolder(this, text(table, "LOCAL").remove('&'), local_->text());
        if (!folder.isEmpty()) local_->setText(folder);
    });
    auto* row = new QHBoxLayout;
    row->addWidget(local_, 1);
    row->addWidget(choose);
    auto* form = addForm(*page);
    form->addRow(text(table, "NAME"), name_);
    form->addRow(QString(), folderNotes_.make(name_, Field::name));
    auto* localLabel = new QLabel(text(table, "LOCAL"));
    localLabel->setBuddy(local_);
    form->addRow(localLabel, row);
    form->addRow(QString(), folderNotes_.make(local_, Field::localPath));
    form->addRow(text(table, "MODE"), mode_);
    return page;
}

QWizardPage* FirstRunAssistant::makeDonePage()
{
    auto* page = new QWizardPage;
    page->setTitle(text(table, "ASSISTANT_DONE"));
    page->setSubTitle(text(table, "ASSISTANT_DONE_HINT"));
    auto* form = addForm(*page);
    for (const auto& [key, value] : {std::pair{"URL", &chosenUrl_}, {"LOCAL", &chosenLocal_}, {"MODE", &chosenMode_}}) {
        *value = new WrappedText;
        form->addRow(text(table, key).remove('&'), *value);
    }
    failure_ = new FieldNote(nullptr);
    form->addRow(failure_);
    return page;
}

void FirstRunAssistant::initializePage(int id)
{
    QWizard::initializePage(id);
    if (id != donePage) return;
    chosenUrl_->say(breakable(leftToRight(url_->text().trimmed())));
    chosenLocal_->say(breakable(leftToRight(local_->text())));
    chosenMode_->say(mode_->currentText());
}

ConfigurationDraft FirstRunAssistant::draft() const
{
    ConfigurationDraft draft;
    draft.name = toUtf8(name_->text());
    draft.url = toUtf8(url_->text().trimmed());
    draft.user = toUtf8(user_->text());
    draft.password = toUtf8(password_->text());
    draft.ignoreServerCert = ignoresCertificate_;
    draft.localPath = toUtf8(local_->text());
    draft.mode = static_cast<SyncMode>(mode_->currentData().toInt());
    return draft;
}

bool FirstRunAssistant::isWithoutProblems(const FieldNotes& notes) const
{
    auto* field = notes.show(draft().problems(store_, {}));
    if (field) field->setFocus();
    return !field;
}

/// The server is asked before its page is left: "Next" starts the check, and a good answer goes on by itself.
bool FirstRunAssistant::validateCurrentPage()
{
    failure_->setFault({});
    switch (currentId()) {
    case serverPage:
        if (isWithoutProblems(serverNotes_) && !isChecked_) startCheck();
        return isChecked_;
    case folderPage:
        return isWithoutProblems(folderNotes_);
    default:
        return true;
    }
}

/// An answer is about what was typed when the server was asked.
void FirstRunAssistant::serverEdited()
{
    isChecked_ = false;
    check_.reset();
    answer_->say({});
    button(QWizard::NextButton)->setEnabled(true);
}

void FirstRunAssistant::startCheck()
{
    answer_->say(text(table, "CHECK_RUNNING"));
    button(QWizard::NextButton)->setEnabled(false);
    check_ = std::make_unique<ServerCheck>(draft(), [this](const ConnectionVerdict& verdict) { checkEnded(verdict); });
}

void FirstRunAssistant::checkEnded(const ConnectionVerdict& verdict)
{
    const auto asked = draft();
    answer_->say(ServerCheck::answer(verdict, asked));
    button(QWizard::NextButton)->setEnabled(true);
    isChecked_ = verdict.kind == ConnectionVerdict::Kind::usable;
    if (isChecked_) return next();
    if (verdict.kind == ConnectionVerdict::Kind::signIn) (asked.user.empty() ? user_ : password_)->setFocus();
    if (!verdict.certificate || !askTrustForGood(this, asked.url, *verdict.certificate)) return;
    ignoresCertificate_ = true;
    startCheck();
}

void FirstRunAssistant::done(int result)
{
    check_.reset();
    QWizard::done(result);
}

void FirstRunAssistant::accept()
{
    const auto wanted = draft();
    const auto made = fs::createFolders(wanted.localPath);
    if (!made) return failure_->setFault(text(table, "LOCAL_NOT_MADE", {{"reason", toUtf8(reasonText(made.error()))}}));
    if (const auto saved = wanted.save(store_, {}); !saved)
        return failure_->setFault(text(table, "NOT_SAVED", {{"reason", toUtf8(reasonText(saved.error()))}}));
    createdName_ = checkedName(wanted.name).value_or(wanted.name);
    QWizard::accept();
}

} // namespace tidemark::qt
