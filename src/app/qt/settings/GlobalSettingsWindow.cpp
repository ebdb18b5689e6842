#include "app/qt/settings/GlobalSettingsWindow.h"

#include <charconv>

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/qt/Texts.h"
#include "app/qt/settings/Autostart.h"
#include "config/BXSyncGlobalConf.h"

namespace tidemark::qt {

namespace {

constexpr const char* table = "Settings";

/// Nothing for an empty field, so that the default counts.
std::optional<std::uint64_t> numberIn(const QLineEdit& field)
{
    const auto text = toUtf8(field.text());
    std::uint64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size() && value > 0 ? std::optional(value) : std::nullopt;
}

QCheckBox* makeSwitch(const char* key)
{
    return new QCheckBox(text(table, key));
}

void showNumber(QLineEdit& field, std::uint64_t value)
{
    field.setText(QString::number(value));
}

} // namespace

GlobalSettingsWindow::GlobalSettingsWindow(BXSyncGlobalConf& settings, QWidget* parent)
    : DismissibleWindow(parent), settings_(settings), optionsTimeout_(new QLineEdit), propfindTimeout_(new QLineEdit),
      timeout_(new QLineEdit), reconnect_(makeSwitch("RECONNECT")), reconnectInterval_(new QLineEdit),
      reconnectLimit_(new QLineEdit), syncOnStartUp_(makeSwitch("SYNC_ON_START")),
      syncOnExit_(makeSwitch("SYNC_ON_EXIT")), hideProgress_(makeSwitch("HIDE_PROGRESS")),
      autostart_(makeSwitch("AUTOSTART")), problem_(new QLabel)
{
    setWindowTitle(text(table, "GENERAL_TITLE"));
    auto* network = new QFormLayout;
    network->addRow(text(table, "OPTIONS_TIMEOUT"), optionsTimeout_);
    network->addRow(text(table, "PROPFIND_TIMEOUT"), propfindTimeout_);
    network->addRow(text(table, "TIMEOUT"), timeout_);
    network->addRow(reconnect_);
    network->addRow(text(table, "RECONNECT_INTERVAL"), reconnectInterval_);
    network->addRow(text(table, "RECONNECT_LIMIT"), reconnectLimit_);
    problem_->setTextFormat(Qt::PlainText);
    problem_->setWordWrap(true);
    auto font = problem_->font();
    font.setBold(true);
    problem_->setFont(font);
    auto* buttons = new QDialogButtonBox;
    auto* save = buttons->addButton(text(table, "SAVE"), QDialogButtonBox::AcceptRole);
    auto* cancel = buttons->addButton(text("TidemarkResource", "CANCEL"), QDialogButtonBox::RejectRole);
    connect(save, &QPushButton::clicked, this, [this] {
        if (this->save()) close();
    });
    connect(cancel, &QPushButton::clicked, this, &QWidget::close);
    connect(reconnect_, &QCheckBox::toggled, this, &GlobalSettingsWindow::showReconnection);
    auto* layout = new QVBoxLayout(this);
    for (auto* choice : {autostart_, syncOnStartUp_, syncOnExit_, hideProgress_})
        layout->addWidget(choice);
    auto* group = new QGroupBox(text(table, "NETWORK"));
    group->setLayout(network);
    layout->addWidget(group);
    layout->addWidget(problem_);
    layout->addStretch();
    layout->addWidget(buttons);
    setDefaultButton(save);
    load();
}

void GlobalSettingsWindow::showReconnection()
{
    reconnectInterval_->setEnabled(reconnect_->isChecked());
    reconnectLimit_->setEnabled(reconnect_->isChecked());
}

void GlobalSettingsWindow::load()
{
    showNumber(*optionsTimeout_, settings_.optionsTimeout());
    showNumber(*propfindTimeout_, settings_.propfindTimeout());
    showNumber(*timeout_, settings_.timeout());
    reconnect_->setChecked(settings_.reconnect());
    showNumber(*reconnectInterval_, settings_.reconnectInterval());
    showNumber(*reconnectLimit_, settings_.reconnectLimit());
    syncOnStartUp_->setChecked(settings_.syncOnStartUp());
    syncOnExit_->setChecked(settings_.syncOnExit());
    hideProgress_->setChecked(settings_.hideProgress());
    autostart_->setChecked(Autostart::isOn());
    problem_->clear();
    showReconnection();
}

bool GlobalSettingsWindow::save()
{
    const auto typed = [](const QLineEdit& field) { return toUtf8(field.text()); };
    const auto error =
        BXSyncGlobalConf::validationError({typed(*propfindTimeout_), typed(*timeout_), reconnect_->isChecked(),
                                           typed(*reconnectInterval_), typed(*reconnectLimit_)});
    problem_->setText(error ? text("TidemarkResource", *error) : QString());
    if (error) return false;
    settings_.setOptionsTimeout(numberIn(*optionsTimeout_));
    settings_.setPropfindTimeout(numberIn(*propfindTimeout_));
    settings_.setTimeout(numberIn(*timeout_));
    settings_.setReconnect(reconnect_->isChecked());
    settings_.setReconnectInterval(numberIn(*reconnectInterval_));
    settings_.setReconnectLimit(numberIn(*reconnectLimit_));
    settings_.setSyncOnStartUp(syncOnStartUp_->isChecked());
    settings_.setSyncOnExit(syncOnExit_->isChecked());
    settings_.setHideProgress(hideProgress_->isChecked());
    auto written = settings_.synchronize();
    if (written && Autostart::isOn() != autostart_->isChecked()) written = Autostart::set(autostart_->isChecked());
    if (!written) problem_->setText(text(table, "NOT_SAVED", {{"error", written.error().description()}}));
    return written.has_value();
}

} // namespace tidemark::qt
