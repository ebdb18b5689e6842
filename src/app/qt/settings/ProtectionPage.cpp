#include "app/qt/settings/ProtectionPage.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>

#include "app/qt/Texts.h"
#include "app/qt/settings/SettingsQuestions.h"

namespace tidemark::qt {

ProtectionPage::ProtectionPage(QWidget* parent)
    : DraftPage(parent), encrypts_(makeSwitch("ENCRYPT")), key_(makeSecret()), repeatedKey_(makeSecret()),
      logFolder_(makeText()), logDays_(makeNumber())
{
    addWide(encrypts_);
    addHint(textOf("ENCRYPT_HINT"));
    addRow("KEY", key_);
    addNote(key_, Field::key);
    addRow("KEY_AGAIN", repeatedKey_);
    addNote(repeatedKey_, Field::repeatedKey, key_);
    addRow("LOG_FOLDER", logFolder_, makeLogChooser());
    addNote(logFolder_, Field::logFolder);
    addRow("LOG_DAYS", logDays_);
    addNote(logDays_, Field::logDays);
    connect(encrypts_, &QCheckBox::toggled, this, &ProtectionPage::showKey);
    showKey();
}

QWidget* ProtectionPage::makeLogChooser()
{
    auto* choose = new QPushButton(textOf("CHOOSE"));
    connect(choose, &QPushButton::clicked, this, [this] {
        const auto folder = chooseFolder(this, textOf("LOG_FOLDER").remove('&'), logFolder_->text());
        if (folder.isEmpty()) return;
        logFolder_->setText(folder);
        emit changed();
    });
    logFolder_->setPlaceholderText(textOf("LOG_FOLDER_NONE"));
    auto* row = new QWidget;
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins({});
    layout->addWidget(logFolder_, 1);
    layout->addWidget(choose);
    return row;
}

void ProtectionPage::showKey()
{
    key_->setEnabled(encrypts_->isChecked());
    repeatedKey_->setEnabled(encrypts_->isChecked());
    if (!encrypts_->isChecked()) clearNotes({Field::key, Field::repeatedKey});
}

void ProtectionPage::load(const ConfigurationDraft& draft)
{
    encrypts_->setChecked(draft.encrypts);
    key_->setText(fromUtf8(draft.key));
    repeatedKey_->setText(fromUtf8(draft.repeatedKey));
    logFolder_->setText(fromUtf8(draft.logFolder));
    logDays_->setText(fromUtf8(draft.logDays));
}

void ProtectionPage::store(ConfigurationDraft& draft) const
{
    draft.encrypts = encrypts_->isChecked();
    draft.key = toUtf8(key_->text());
    draft.repeatedKey = toUtf8(repeatedKey_->text());
    draft.logFolder = toUtf8(logFolder_->text());
    draft.logDays = toUtf8(logDays_->text());
}

} // namespace tidemark::qt
