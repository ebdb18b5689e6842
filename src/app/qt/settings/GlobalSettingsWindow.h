#pragma once

#include <QDialog>

#include "app/Autostart.h"
#include "app/GlobalSettingsDraft.h"

class QCheckBox;
class QFormLayout;
class QLineEdit;
class QSpinBox;
class QVBoxLayout;

namespace tidemark::qt {

class FieldNote;

/// The settings of all configurations, and whether the program starts with the session. Nothing is saved before all of
/// it can be; what was typed stays.
class GlobalSettingsWindow : public QDialog
{
    Q_OBJECT

public:
    /// `settings` outlives the window.
    explicit GlobalSettingsWindow(BXSyncGlobalConf& settings, QWidget* parent = nullptr);

    /// Shows what is stored; what was typed is gone.
    void load();
    bool hasUnsavedChanges() const;

public slots:
    /// Saves and closes, or says what is wrong.
    void accept() override;
    /// Closes; asks first where changes would be lost.
    void reject() override;

private:
    struct Number
    {
        QLineEdit* field = nullptr;
        FieldNote* note = nullptr;
    };

    void addProgram(QVBoxLayout& layout);
    void addTimeOuts(QVBoxLayout& layout);
    void addReconnection(QVBoxLayout& layout);
    void addButtons(QVBoxLayout& layout);
    QCheckBox* addSwitch(QVBoxLayout& layout, const char* key);
    Number addNumber(QFormLayout& layout, const char* key, const char* unitKey);
    void fill(const GlobalSettingsDraft& draft);
    GlobalSettingsDraft given() const;
    void showFault(const std::string& key);
    bool save();

    BXSyncGlobalConf& settings_;
    Autostart autostart_;
    /// As the window first showed it.
    GlobalSettingsDraft shown_;
    bool shownAutostart_ = false;
    QCheckBox* autostartSwitch_ = nullptr;
    QCheckBox* syncOnStart_ = nullptr;
    QCheckBox* syncOnExit_ = nullptr;
    QCheckBox* hideProgress_ = nullptr;
    QSpinBox* optionsTimeOut_ = nullptr;
    Number propfindTimeOut_;
    Number otherTimeOut_;
    QCheckBox* reconnect_ = nullptr;
    Number interval_;
    Number limit_;
    FieldNote* result_ = nullptr;
};

} // namespace tidemark::qt
