#include "app/qt/settings/SettingsWindow.h"

#include <QCloseEvent>
#include <QHBoxLayout>
#include <QListWidget>
#include <QPushButton>
#include <QSignalBlocker>
#include <QTabWidget>
#include <QVBoxLayout>

#include "app/ConfigurationInput.h"
#include "app/ConfigurationWarnings.h"
#include "app/qt/Texts.h"
#include "app/qt/settings/FaultTexts.h"
#include "app/qt/settings/FoldersPage.h"
#include "app/qt/settings/ProtectionPage.h"
#include "app/qt/settings/SchedulePage.h"
#include "app/qt/settings/SignInPage.h"
#include "app/qt/settings/WrappedText.h"
#include "config/BXSyncConfigManager.h"

namespace tidemark::qt {

namespace {

constexpr const char* table = "Settings";

QStringList warningSentences(const BXSyncConf& conf, const BXSyncConfigManager& store)
{
    QStringList sentences;
    for (const auto& [kind, other] : configurationWarnings(conf, store)) {
        switch (kind) {
        case ConfigurationWarning::Kind::noLocalFolder:
            sentences << text(table, "WARNING_NO_FOLDER");
            break;
        case ConfigurationWarning::Kind::overlaps:
            sentences << text(table, "WARNING_OVERLAP", {{"name", other}});
            break;
        case ConfigurationWarning::Kind::noPassword:
            sentences << text(table, "WARNING_NO_PASSWORD");
            break;
        }
    }
    return sentences;
}

} // namespace

SettingsWindow::SettingsWindow(Outside outside, QWidget* parent)
    : DismissibleWindow(parent), outside_(std::move(outside)),
      askUnsaved_([this] { return askAboutUnsaved(this, text(table, "UNSAVED_QUESTION")); }),
      askYes_([this](const QString& question) { return askYes(this, question); })
{
    setWindowTitle(text(table, "TITLE"));
    auto* layout = new QHBoxLayout(this);
    layout->addWidget(makeList());
    layout->addWidget(makeEditor(), 1);
    reload();
    if (list_->count() > 0) list_->setCurrentRow(0);
    setModified(false);
}

QWidget* SettingsWindow::makeList()
{
    list_ = new QListWidget;
    list_->setAccessibleName(text(table, "CONFIGURATIONS"));
    connect(list_, &QListWidget::currentRowChanged, this, &SettingsWindow::selectionChanged);
    auto* create = new QPushButton(text(table, "NEW"));
    duplicate_ = new QPushButton(text(table, "DUPLICATE"));
    remove_ = new QPushButton(text(table, "DELETE"));
    auto* general = new QPushButton(text(table, "GENERAL"));
    connect(create, &QPushButton::clicked, this, [this] { beginNew({}); });
    connect(duplicate_, &QPushButton::clicked, this, &SettingsWindow::duplicate);
    connect(remove_, &QPushButton::clicked, this, &SettingsWindow::removeSelected);
    connect(general, &QPushButton::clicked, this, [this] { outside_.showGeneralSettings(); });
    auto* column = new QWidget;
    auto* layout = new QVBoxLayout(column);
    layout->setContentsMargins({});
    layout->addWidget(list_, 1);
    for (auto* button : {create, duplicate_, remove_, general})
        layout->addWidget(button);
    return column;
}

QWidget* SettingsWindow::makeEditor()
{
    tabs_ = new QTabWidget;
    signIn_ = new SignInPage([this] { return draft(); });
    const std::pair<const char*, DraftPage*> pages[] = {{"TAB_FOLDERS", new FoldersPage},
                                                        {"TAB_SIGN_IN", signIn_},
                                                        {"TAB_SCHEDULE", new SchedulePage},
                                                        {"TAB_PROTECTION", new ProtectionPage}};
    for (const auto& [key, page] : pages) {
        tabs_->addTab(page, text(table, key));
        pages_.push_back(page);
        connect(page, &DraftPage::changed, this, [this] {
            setModified(true);
            signIn_->forgetCheck();
        });
    }
    auto* column = new QWidget;
    auto* layout = new QVBoxLayout(column);
    layout->setContentsMargins({});
    layout->addWidget(tabs_, 1);
    layout->addWidget(makeApplyRow());
    return column;
}

QWidget* SettingsWindow::makeApplyRow()
{
    message_ = new WrappedText;
    auto* log = new QPushButton(text(table, "SHOW_LOG"));
    apply_ = new QPushButton(text(table, "APPLY"));
    revert_ = new QPushButton(text(table, "REVERT"));
    connect(log, &QPushButton::clicked, this, [this] { outside_.showLog(formerName_.value_or("")); });
    connect(apply_, &QPushButton::clicked, this, &SettingsWindow::apply);
    connect(revert_, &QPushButton::clicked, this, &SettingsWindow::revert);
    auto* row = new QWidget;
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins({});
    layout->addWidget(log);
    layout->addWidget(message_, 1);
    layout->addWidget(revert_);
    layout->addWidget(apply_);
    return row;
}

ConfigurationDraft SettingsWindow::draft() const
{
    auto result = loaded_;
    for (const auto* page : pages_)
        page->store(result);
    return result;
}

void SettingsWindow::load(const ConfigurationDraft& draft)
{
    loaded_ = draft;
    for (auto* page : pages_) {
        page->load(draft);
        page->showProblems({});
    }
    say({});
    setModified(false);
}

void SettingsWindow::setModified(bool modified)
{
    isModified_ = modified;
    tabs_->setEnabled(formerName_.has_value());
    apply_->setEnabled(modified);
    revert_->setEnabled(modified);
    const bool isStored = formerName_ && !formerName_->empty();
    duplicate_->setEnabled(isStored);
    remove_->setEnabled(isStored);
}

bool SettingsWindow::leaveDraft()
{
    if (!isModified_) return true;
    switch (askUnsaved_()) {
    case UnsavedAnswer::save:
        return apply();
    case UnsavedAnswer::discard:
        load(loaded_);
        return true;
    case UnsavedAnswer::keepEditing:
        break;
    }
    return false;
}

bool SettingsWindow::apply()
{
    const auto wanted = draft();
    const auto problems = wanted.problems(outside_.store, *formerName_);
    showProblems(problems);
    if (!problems.empty()) return false;
    if (!formerName_->empty()) {
        const auto conf = outside_.store.get(*formerName_, false);
        if (conf && wanted.changesKeyOf(*conf) && !askYes_(text(table, "KEY_CHANGE_QUESTION"))) return false;
    }
    if (const auto saved = wanted.save(outside_.store, *formerName_); !saved) {
        say(text(table, "NOT_SAVED", {{"reason", toUtf8(reasonText(saved.error()))}}));
        return false;
    }
    formerName_ = checkedName(wanted.name).value_or(wanted.name);
    const auto conf = outside_.store.get(*formerName_, false);
    load(conf ? ConfigurationDraft::of(*conf) : wanted);
    reload();
    QStringList sentences{text(table, "SAVED")};
    if (conf) sentences << warningSentences(*conf, outside_.store);
    say(sentences.join(' '));
    return true;
}

void SettingsWindow::showProblems(const std::vector<ConfigurationDraft::Problem>& problems)
{
    QWidget* first = nullptr;
    for (auto* page : pages_) {
        auto* field = page->showProblems(problems);
        if (!field || first) continue;
        first = field;
        tabs_->setCurrentWidget(page);
    }
    if (first) first->setFocus();
    say(problems.empty() ? QString() : text(table, "PROBLEMS"));
}

void SettingsWindow::revert()
{
    if (formerName_->empty()) {
        formerName_.reset();
        load({});
        selectionChanged();
        return;
    }
    load(loaded_);
}

void SettingsWindow::reload()
{
    const auto current =
        formerName_ ? fromUtf8(*formerName_) : (list_->currentItem() ? list_->currentItem()->text() : QString());
    {
        const QSignalBlocker quiet(list_);
        list_->clear();
        for (const auto& name : outside_.store.configNames())
            list_->addItem(fromUtf8(name));
    }
    showSelected(current);
    if (isModified_ || !formerName_ || formerName_->empty()) return;
    if (const auto conf = outside_.store.get(*formerName_, false)) return load(ConfigurationDraft::of(*conf));
    // Somebody else has deleted it.
    formerName_.reset();
    list_->setCurrentRow(list_->count() > 0 ? 0 : -1);
    selectionChanged();
}

/// In the list alone.
void SettingsWindow::showSelected(const QString& name)
{
    const QSignalBlocker quiet(list_);
    list_->setCurrentRow(-1);
    for (int row = 0; row < list_->count(); ++row)
        if (list_->item(row)->text() == name) list_->setCurrentRow(row);
}

void SettingsWindow::select(const QString& name)
{
    for (int row = 0; row < list_->count(); ++row)
        if (list_->item(row)->text() == name) list_->setCurrentRow(row);
    selectionChanged();
}

void SettingsWindow::showConfiguration(const std::string& name)
{
    reload();
    select(fromUtf8(name));
}

void SettingsWindow::selectionChanged()
{
    const auto* item = list_->currentItem();
    const auto name = item ? toUtf8(item->text()) : std::string();
    if (formerName_ == name && !name.empty()) return;
    if (!leaveDraft()) return showSelected(fromUtf8(*formerName_));
    showSelected(fromUtf8(name));
    const auto conf = name.empty() ? nullptr : outside_.store.get(name, false);
    formerName_ = conf ? std::optional(name) : std::nullopt;
    load(conf ? ConfigurationDraft::of(*conf) : ConfigurationDraft());
}

void SettingsWindow::beginNew(ConfigurationDraft draft)
{
    if (!leaveDraft()) return;
    {
        const QSignalBlocker quiet(list_);
        list_->setCurrentRow(-1);
    }
    draft.name = toUtf8(unusedName(draft.name.empty() ? text(table, "NEW_NAME") : fromUtf8(draft.name)));
    formerName_ = "";
    load(draft);
    setModified(true);
    tabs_->setCurrentIndex(0);
    // Where the name is typed over.
    tabs_->currentWidget()->setFocus(Qt::TabFocusReason);
}

void SettingsWindow::duplicate()
{
    const auto conf = outside_.store.get(*formerName_, false);
    if (conf) beginNew(ConfigurationDraft::of(*conf));
}

void SettingsWindow::removeSelected()
{
    const auto name = *formerName_;
    if (!askYes_(text(table, "DELETE_QUESTION", {{"name", name}}))) return;
    if (const auto removed = ConfigurationDraft::remove(outside_.store, name); !removed)
        return say(text(table, "NOT_SAVED", {{"reason", toUtf8(reasonText(removed.error()))}}));
    setModified(false);
    formerName_.reset();
    reload();
    list_->setCurrentRow(list_->count() > 0 ? 0 : -1);
    selectionChanged();
}

QString SettingsWindow::unusedName(const QString& wish) const
{
    auto name = wish;
    for (int number = 2; outside_.store.get(toUtf8(name), false); ++number)
        name = QStringLiteral("%1 %2").arg(wish).arg(number);
    return name;
}

void SettingsWindow::say(const QString& message)
{
    message_->say(message);
}

void SettingsWindow::closeEvent(QCloseEvent* event)
{
    if (!leaveDraft()) return event->ignore();
    if (formerName_ && formerName_->empty()) formerName_.reset();
    signIn_->forgetCheck();
    DismissibleWindow::closeEvent(event);
}

} // namespace tidemark::qt
