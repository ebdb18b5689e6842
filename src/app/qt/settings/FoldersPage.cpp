#include "app/qt/settings/FoldersPage.h"

#include <QCheckBox>
#include <QComboBox>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>

#include "app/qt/Texts.h"
#include "app/qt/settings/SettingsQuestions.h"

namespace tidemark::qt {

namespace {

/// A policy word of the configuration, and the key of what it means.
struct Policy
{
    const char* word;
    const char* key;
};

constexpr Policy conflictPolicies[] = {{"confirm", "CONFLICT_ASK"},
                                       {"upload", "CONFLICT_UPLOAD"},
                                       {"download", "CONFLICT_DOWNLOAD"},
                                       {"none", "CONFLICT_NONE"}};
constexpr Policy serverDeletePolicies[] = {{"confirm", "SERVER_DELETE_ASK"},
                                           {"delete", "SERVER_DELETE_DELETE"},
                                           {"upload", "SERVER_DELETE_UPLOAD"},
                                           {"none", "SERVER_DELETE_NONE"}};
constexpr Policy localDeletePolicies[] = {{"confirm", "LOCAL_DELETE_ASK"},
                                          {"delete", "LOCAL_DELETE_DELETE"},
                                          {"download", "LOCAL_DELETE_DOWNLOAD"},
                                          {"none", "LOCAL_DELETE_NONE"}};

template <std::size_t size>
void fill(QComboBox& box, const Policy (&policies)[size])
{
    for (const auto& policy : policies)
        box.addItem(text("Settings", policy.key), QString::fromLatin1(policy.word));
}

void choose(QComboBox& box, const QVariant& data)
{
    box.setCurrentIndex(std::max(box.findData(data), 0));
}

std::string wordOf(const QComboBox& box)
{
    return toUtf8(box.currentData().toString());
}

} // namespace

FoldersPage::FoldersPage(QWidget* parent)
    : DraftPage(parent), name_(makeText()), enabled_(makeSwitch("ENABLED")), url_(makeText()), local_(makeText()),
      mode_(makeChoice()), conflict_(makeChoice()), serverDelete_(makeChoice()), localDelete_(makeChoice())
{
    for (const auto& [key, mode] : {std::pair("MODE_TWO_WAY", SyncMode::twoWay),
                                    {"MODE_UPLOAD", SyncMode::uploadOnly},
                                    {"MODE_DOWNLOAD", SyncMode::downloadOnly}})
        mode_->addItem(textOf(key), static_cast<int>(mode));
    fill(*conflict_, conflictPolicies);
    fill(*serverDelete_, serverDeletePolicies);
    fill(*localDelete_, localDeletePolicies);
    url_->setPlaceholderText(QStringLiteral("https://dav.example.org/folder"));
    addRow("NAME", name_);
    setFocusProxy(name_);
    addNote(name_, Field::name);
    addRow("URL", url_);
    addNote(url_, Field::url);
    addRow("LOCAL", local_, makeFolderChooser());
    addNote(local_, Field::localPath);
    addRow("MODE", mode_);
    addRow("ON_CONFLICT", conflict_);
    addRow("ON_SERVER_DELETE", serverDelete_);
    addRow("ON_LOCAL_DELETE", localDelete_);
    addWide(enabled_);
    connect(mode_, &QComboBox::currentIndexChanged, this, &FoldersPage::showDirection);
    showDirection();
}

QComboBox* FoldersPage::makeChoice()
{
    auto* box = new QComboBox;
    connect(box, &QComboBox::activated, this, &DraftPage::changed);
    return box;
}

QWidget* FoldersPage::makeFolderChooser()
{
    auto* row = new QWidget;
    auto* choose = new QPushButton(textOf("CHOOSE"));
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins({});
    layout->addWidget(local_, 1);
    layout->addWidget(choose);
    connect(choose, &QPushButton::clicked, this, [this] {
        const auto folder = chooseFolder(this, textOf("LOCAL").remove('&'), local_->text());
        if (folder.isEmpty()) return;
        local_->setText(folder);
        emit changed();
    });
    return row;
}

void FoldersPage::showDirection()
{
    const auto mode = static_cast<SyncMode>(mode_->currentData().toInt());
    conflict_->setEnabled(mode == SyncMode::twoWay);
    serverDelete_->setEnabled(mode != SyncMode::uploadOnly);
    localDelete_->setEnabled(mode != SyncMode::downloadOnly);
}

void FoldersPage::load(const ConfigurationDraft& draft)
{
    name_->setText(fromUtf8(draft.name));
    enabled_->setChecked(draft.enabled);
    url_->setText(fromUtf8(draft.url));
    local_->setText(fromUtf8(draft.localPath));
    choose(*mode_, static_cast<int>(draft.mode));
    choose(*conflict_, fromUtf8(draft.conflict));
    choose(*serverDelete_, fromUtf8(draft.serverDelete));
    choose(*localDelete_, fromUtf8(draft.localDelete));
}

void FoldersPage::store(ConfigurationDraft& draft) const
{
    draft.name = toUtf8(name_->text());
    draft.enabled = enabled_->isChecked();
    draft.url = toUtf8(url_->text().trimmed());
    draft.localPath = toUtf8(local_->text());
    draft.mode = static_cast<SyncMode>(mode_->currentData().toInt());
    draft.conflict = wordOf(*conflict_);
    draft.serverDelete = wordOf(*serverDelete_);
    draft.localDelete = wordOf(*localDelete_);
}

} // namespace tidemark::qt
