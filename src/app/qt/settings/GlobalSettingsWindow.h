#pragma once

#include "app/qt/DismissibleWindow.h"

class QCheckBox;
class QLabel;
class QLineEdit;

namespace tidemark {
class BXSyncGlobalConf;
}

namespace tidemark::qt {

/// The settings that hold for every configuration. Main thread.
class GlobalSettingsWindow : public DismissibleWindow
{
    Q_OBJECT

public:
    /// The settings outlive the window.
    explicit GlobalSettingsWindow(BXSyncGlobalConf& settings, QWidget* parent = nullptr);

    /// What is stored.
    void load();
    /// Saves what was typed; false, with the first rule that it breaks, where it cannot be.
    bool save();

private:
    void showReconnection();

    BXSyncGlobalConf& settings_;
    QLineEdit* const optionsTimeout_;
    QLineEdit* const propfindTimeout_;
    QLineEdit* const timeout_;
    QCheckBox* const reconnect_;
    QLineEdit* const reconnectInterval_;
    QLineEdit* const reconnectLimit_;
    QCheckBox* const syncOnStartUp_;
    QCheckBox* const syncOnExit_;
    QCheckBox* const hideProgress_;
    QCheckBox* const autostart_;
    QLabel* const problem_;
};

} // namespace tidemark::qt
