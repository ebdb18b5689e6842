#pragma once

#include "app/qt/settings/DraftPage.h"

class QCheckBox;
class QComboBox;
class QListWidget;
class QPushButton;
class QSpinBox;

namespace tidemark::qt {

/// When a configuration is synchronised by itself: as soon as files change, and by a weekly timetable.
class SchedulePage : public DraftPage
{
    Q_OBJECT

public:
    explicit SchedulePage(QWidget* parent = nullptr);

    void load(const ConfigurationDraft& draft) override;
    void store(ConfigurationDraft& draft) const override;

private:
    QWidget* makeEditor();
    BXSyncSchedule edited() const;
    void add();
    void removeSelected();
    void showSchedules();

    QCheckBox* const autosync_;
    QListWidget* const list_;
    QComboBox* const week_;
    QComboBox* const hour_;
    QSpinBox* const minute_;
    QPushButton* const remove_;
    FieldNote* note_ = nullptr;
    std::vector<BXSyncSchedule> schedules_;
};

} // namespace tidemark::qt
