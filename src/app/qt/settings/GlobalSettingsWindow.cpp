#include "app/qt/settings/GlobalSettingsWindow.h"

#include <algorithm>
#include <limits>

#include <QCheckBox>
#include <QCoreApplication>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QVBoxLayout>

#include "app/qt/Texts.h"
#include "app/qt/settings/FaultTexts.h"
#include "app/qt/settings/FieldNote.h"
#include "app/qt/settings/SettingsQuestions.h"

namespace tidemark::qt {

namespace {

constexpr const char* table = "GlobalSettings";
constexpr int numberWidthInCharacters = 12;

QVBoxLayout* addGroup(QVBoxLayout& layout, const char* key)
{
    auto* group = new QGroupBox(text(table, key));
    layout.addWidget(group);
    return new QVBoxLayout(group);
}

QFormLayout* addForm(QVBoxLayout& layout)
{
    auto* form = new QFormLayout;
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    layout.addLayout(form);
    return form;
}

int numberWidth(const QWidget& field)
{
    return field.fontMetrics().averageCharWidth() * numberWidthInCharacters;
}

/// A row of `field` with what it counts beside it.
QLabel* addRow(QFormLayout& form, const char* key, QWidget* field, const QString& unit)
{
    auto* row = new QHBoxLayout;
    field->setFixedWidth(numberWidth(*field));
    field->setAccessibleName(text(table, key).remove('&'));
    row->addWidget(field);
    row->addWidget(new QLabel(unit));
    row->addStretch(1);
    auto* label = new QLabel(text(table, key));
    label->setBuddy(field);
    form.addRow(label, row);
    return label;
}

bool differ(const GlobalSettingsDraft& a, const GlobalSettingsDraft& b)
{
    return a.optionsTimeout != b.optionsTimeout || a.typed.propfindTimeout != b.typed.propfindTimeout ||
           a.typed.timeout != b.typed.timeout || a.typed.reconnect != b.typed.reconnect ||
           a.typed.reconnectInterval != b.typed.reconnectInterval || a.typed.reconnectLimit != b.typed.reconnectLimit ||
           a.syncOnStartUp != b.syncOnStartUp || a.syncOnExit != b.syncOnExit || a.hideProgress != b.hideProgress;
}

} // namespace

GlobalSettingsWindow::GlobalSettingsWindow(BXSyncGlobalConf& settings, QWidget* parent)
    : QDialog(parent), settings_(settings),
      autostart_(Autostart::userFolder(), toUtf8(QCoreApplication::applicationFilePath()))
{
    setWindowTitle(text(table, "TITLE"));
    auto* layout = new QVBoxLayout(this);
    layout->setSizeConstraint(QLayout::SetMinAndMaxSize);
    addProgram(*layout);
    addTimeOuts(*layout);
    addReconnection(*layout);
    result_ = new FieldNote(nullptr);
    layout->addWidget(result_);
    layout->addStretch(1);
    addButtons(*layout);
    load();
}

void GlobalSettingsWindow::load()
{
    fill(draftOf(settings_));
    shown_ = given();
    shownAutostart_ = autostartSwitch_->isChecked();
    showFault("");
    result_->setFault({});
}

void GlobalSettingsWindow::addProgram(QVBoxLayout& layout)
{
    auto* group = addGroup(layout, "PROGRAM");
    autostartSwitch_ = addSwitch(*group, "AUTOSTART");
    syncOnStart_ = addSwitch(*group, "SYNC_ON_START");
    syncOnExit_ = addSwitch(*group, "SYNC_ON_EXIT");
    hideProgress_ = addSwitch(*group, "HIDE_PROGRESS");
}

void GlobalSettingsWindow::addTimeOuts(QVBoxLayout& layout)
{
    auto* form = addForm(*addGroup(layout, "TIME_OUTS"));
    optionsTimeOut_ = new QSpinBox;
    optionsTimeOut_->setRange(1, std::numeric_limits<int>::max());
    optionsTimeOut_->setButtonSymbols(QAbstractSpinBox::NoButtons);
    addRow(*form, "OPTIONS_TIME_OUT", optionsTimeOut_, text(table, "SECONDS"));
    propfindTimeOut_ = addNumber(*form, "PROPFIND_TIME_OUT", "SECONDS");
    otherTimeOut_ = addNumber(*form, "OTHER_TIME_OUT", "SECONDS");
}

void GlobalSettingsWindow::addReconnection(QVBoxLayout& layout)
{
    auto* group = addGroup(layout, "RECONNECTION");
    reconnect_ = addSwitch(*group, "RECONNECT");
    auto* form = addForm(*group);
    interval_ = addNumber(*form, "RECONNECT_INTERVAL", "SECONDS");
    limit_ = addNumber(*form, "RECONNECT_LIMIT", nullptr);
    connect(reconnect_, &QCheckBox::toggled, this, [this](bool on) {
        for (auto& number : {interval_, limit_}) {
            number.field->setEnabled(on);
            number.note->setFault({});
        }
    });
}

void GlobalSettingsWindow::addButtons(QVBoxLayout& layout)
{
    auto* save = new QPushButton(text(table, "SAVE"));
    auto* cancel = new QPushButton(text(table, "CANCEL"));
    save->setDefault(true);
    cancel->setAutoDefault(false);
    auto* row = new QHBoxLayout;
    row->addStretch(1);
    row->addWidget(save);
    row->addWidget(cancel);
    layout.addLayout(row);
    connect(save, &QPushButton::clicked, this, &GlobalSettingsWindow::accept);
    connect(cancel, &QPushButton::clicked, this, &GlobalSettingsWindow::reject);
}

QCheckBox* GlobalSettingsWindow::addSwitch(QVBoxLayout& layout, const char* key)
{
    auto* box = new QCheckBox(text(table, key));
    layout.addWidget(box);
    return box;
}

GlobalSettingsWindow::Number GlobalSettingsWindow::addNumber(QFormLayout& layout, const char* key, const char* unitKey)
{
    Number number;
    number.field = new QLineEdit;
    number.note = new FieldNote(number.field);
    addRow(layout, key, number.field, unitKey ? text(table, unitKey) : QString());
    layout.addRow(number.note);
    connect(number.field, &QLineEdit::textEdited, number.note, [note = number.note] { note->setFault({}); });
    return number;
}

void GlobalSettingsWindow::fill(const GlobalSettingsDraft& draft)
{
    autostartSwitch_->setChecked(autostart_.isOn());
    syncOnStart_->setChecked(draft.syncOnStartUp);
    syncOnExit_->setChecked(draft.syncOnExit);
    hideProgress_->setChecked(draft.hideProgress);
    optionsTimeOut_->setValue(static_cast<int>(
        std::min<qulonglong>(fromUtf8(draft.optionsTimeout).toULongLong(), std::numeric_limits<int>::max())));
    propfindTimeOut_.field->setText(fromUtf8(draft.typed.propfindTimeout));
    otherTimeOut_.field->setText(fromUtf8(draft.typed.timeout));
    interval_.field->setText(fromUtf8(draft.typed.reconnectInterval));
    limit_.field->setText(fromUtf8(draft.typed.reconnectLimit));
    reconnect_->setChecked(draft.typed.reconnect);
    for (auto& number : {interval_, limit_})
        number.field->setEnabled(draft.typed.reconnect);
}

GlobalSettingsDraft GlobalSettingsWindow::given() const
{
    return {.optionsTimeout = std::to_string(optionsTimeOut_->value()),
            .typed = {.propfindTimeout = toUtf8(propfindTimeOut_.field->text()),
                      .timeout = toUtf8(otherTimeOut_.field->text()),
                      .reconnect = reconnect_->isChecked(),
                      .reconnectInterval = toUtf8(interval_.field->text()),
                      .reconnectLimit = toUtf8(limit_.field->text())},
            .syncOnStartUp = syncOnStart_->isChecked(),
            .syncOnExit = syncOnExit_->isChecked(),
            .hideProgress = hideProgress_->isChecked()};
}

bool GlobalSettingsWindow::hasUnsavedChanges() const
{
    return differ(given(), shown_) || autostartSwitch_->isChecked() != shownAutostart_;
}

void GlobalSettingsWindow::showFault(const std::string& key)
{
    const std::pair<const char*, const Number*> numbers[] = {{"CONFIG_TIMEOUT_PROPFIND_ERROR", &propfindTimeOut_},
                                                             {"CONFIG_TIMEOUT_OTHER_ERROR", &otherTimeOut_},
                                                             {"CONFIG_RECONNECT_INTERVAL_ERROR", &interval_},
                                                             {"CONFIG_RECONNECT_LIMIT_ERROR", &limit_}};
    for (const auto& [numberKey, number] : numbers) {
        const bool isMeant = key == numberKey;
        number->note->setFault(isMeant ? text("TidemarkResource", key) : QString());
        if (!isMeant) continue;
        number->field->setFocus();
        number->field->selectAll();
    }
}

/// Says what keeps it from being saved, and saves nothing then.
bool GlobalSettingsWindow::save()
{
    auto draft = given();
    const auto fault = BXSyncGlobalConf::validationError(draft.typed);
    showFault(fault.value_or(""));
    if (fault) return false;
    // What the field cannot show is not to be cut by being shown.
    if (draft.optionsTimeout == shown_.optionsTimeout) draft.optionsTimeout.clear();
    const auto stored = store(draft, settings_);
    const auto started = autostart_.setOn(autostartSwitch_->isChecked());
    if (!stored) result_->setFault(text(table, "SAVE_FAILED", {{"reason", toUtf8(reasonText(stored.error()))}}));
    if (stored && !started)
        result_->setFault(text(table, "AUTOSTART_FAILED", {{"reason", toUtf8(reasonText(started.error()))}}));
    return stored && started;
}

void GlobalSettingsWindow::accept()
{
    if (save()) QDialog::accept();
}

void GlobalSettingsWindow::reject()
{
    if (!hasUnsavedChanges()) return QDialog::reject();
    switch (askAboutUnsaved(this, text(table, "UNSAVED"))) {
    case UnsavedAnswer::save:
        return accept();
    case UnsavedAnswer::discard:
        return QDialog::reject();
    case UnsavedAnswer::keepEditing:
        return;
    }
}

} // namespace tidemark::qt
