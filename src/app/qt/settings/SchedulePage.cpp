#include "app/qt/settings/SchedulePage.h"

#include <algorithm>

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QSpinBox>

#include "app/qt/Texts.h"
#include "app/qt/settings/FieldNote.h"

namespace tidemark::qt {

namespace {

constexpr int every = -1;
constexpr int visibleRows = 6;
constexpr const char* weekKeys[] = {"EVERYDAY",  "SUNDAY",   "MONDAY", "TUESDAY",
                                    "WEDNESDAY", "THURSDAY", "FRIDAY", "SATURDAY"};

} // namespace

SchedulePage::SchedulePage(QWidget* parent)
    : DraftPage(parent, true), autosync_(makeSwitch("AUTOSYNC")), list_(new QListWidget), week_(new QComboBox),
      hour_(new QComboBox), minute_(new QSpinBox), remove_(new QPushButton(textOf("SCHEDULE_REMOVE")))
{
    addWide(autosync_);
    list_->setMinimumHeight(list_->fontMetrics().lineSpacing() * visibleRows);
    addRow("SCHEDULES", list_);
    addRow("SCHEDULE_NEW", week_, makeEditor());
    week_->setAccessibleName(textOf("SCHEDULE_DAY"));
    note_ = new FieldNote(week_);
    addWide(note_);
    addHint(textOf("SCHEDULE_HINT"));
    connect(list_, &QListWidget::itemSelectionChanged, this,
            [this] { remove_->setEnabled(!list_->selectedItems().isEmpty()); });
    const auto clearNote = [this] { note_->setFault({}); };
    for (auto* box : {week_, hour_})
        connect(box, &QComboBox::currentIndexChanged, note_, clearNote);
    connect(minute_, &QSpinBox::valueChanged, note_, clearNote);
}

QWidget* SchedulePage::makeEditor()
{
    for (int week = 0; week < static_cast<int>(std::size(weekKeys)); ++week)
        week_->addItem(text("Schedule", weekKeys[week]), week == 0 ? every : week);
    hour_->addItem(textOf("EVERY_HOUR"), every);
    for (int hour = 0; hour < 24; ++hour)
        hour_->addItem(QString::number(hour), hour);
    minute_->setRange(0, 59);
    hour_->setAccessibleName(textOf("SCHEDULE_HOUR"));
    minute_->setAccessibleName(textOf("SCHEDULE_MINUTE"));
    auto* add = new QPushButton(textOf("SCHEDULE_ADD"));
    connect(add, &QPushButton::clicked, this, &SchedulePage::add);
    connect(remove_, &QPushButton::clicked, this, &SchedulePage::removeSelected);
    remove_->setEnabled(false);
    auto* row = new QWidget;
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins({});
    layout->addWidget(week_);
    layout->addWidget(hour_);
    layout->addWidget(new QLabel(QStringLiteral(":")));
    layout->addWidget(minute_);
    layout->addWidget(add);
    layout->addWidget(remove_);
    layout->addStretch();
    return row;
}

BXSyncSchedule SchedulePage::edited() const
{
    return {week_->currentData().toInt(), hour_->currentData().toInt(), minute_->value()};
}

void SchedulePage::add()
{
    const auto entry = edited();
    const auto isEqual = [&](const BXSyncSchedule& other) { return other.compare(entry) == 0; };
    const auto found = std::ranges::find_if(schedules_, isEqual);
    if (found != schedules_.end()) {
        list_->setCurrentRow(static_cast<int>(found - schedules_.begin()));
        return note_->setFault(textOf("SCHEDULE_THERE"));
    }
    schedules_.push_back(entry);
    showSchedules();
    emit changed();
}

void SchedulePage::removeSelected()
{
    const auto row = list_->currentRow();
    if (row < 0) return;
    schedules_.erase(schedules_.begin() + row);
    showSchedules();
    emit changed();
}

void SchedulePage::showSchedules()
{
    schedules_ = BXSyncSchedule::sortSchedule(std::move(schedules_));
    list_->clear();
    for (const auto& schedule : schedules_)
        list_->addItem(fromUtf8(schedule.showString()));
    remove_->setEnabled(false);
    note_->setFault({});
}

void SchedulePage::load(const ConfigurationDraft& draft)
{
    autosync_->setChecked(draft.autosync);
    schedules_ = draft.schedules;
    showSchedules();
}

void SchedulePage::store(ConfigurationDraft& draft) const
{
    draft.autosync = autosync_->isChecked();
    draft.schedules = schedules_;
}

} // namespace tidemark::qt
