#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "app/SyncItem.h"

class QWidget;

namespace tidemark {
class BXSyncConfigManager;
class BXSyncGlobalConf;
class BXSyncProgressModel;
class SyncItems;
} // namespace tidemark

namespace tidemark::qt {

class FirstRunAssistant;
class GlobalSettingsWindow;
class LogViewer;
class ProgressWindow;
class SettingsWindow;
class SyncListWindow;
class VersionWindow;

/// The application's windows; each is made when it is first shown, except those of a run, which exist from the start.
class TrayWindows
{
public:
    /// All outlive the windows.
    struct Outside
    {
        BXSyncConfigManager& store;
        BXSyncGlobalConf& settings;
        BXSyncProgressModel& progress;
        SyncItems& items;
    };
    /// What windows ask of the application.
    struct Actions
    {
        std::function<bool()> syncExecuting;
        std::function<void(const std::vector<std::string>& names)> synchronize;
    };

    explicit TrayWindows(Outside outside);
    ~TrayWindows();

    void setActions(Actions actions) { actions_ = std::move(actions); }

    void showProgress();
    void bringProgressToFront();
    void hideProgress();
    void resetSyncList();
    void addList(const std::string& configuration, std::vector<SyncItem> items);
    void showSyncList();
    void showLog(const std::string& configuration);
    void showVersion();
    /// At `configuration` where one is named.
    void showSettings(const std::string& configuration = {});
    void showGeneralSettings();
    /// False where a person wants to go on editing.
    bool closeSettings();
    void showAssistant();
    /// Another program, or a window, has changed the store.
    void configurationsChanged();

private:
    Outside outside_;
    Actions actions_;
    std::unique_ptr<ProgressWindow> progress_;
    std::unique_ptr<SyncListWindow> syncList_;
    std::unique_ptr<LogViewer> log_;
    std::unique_ptr<VersionWindow> version_;
    std::unique_ptr<SettingsWindow> settings_;
    std::unique_ptr<GlobalSettingsWindow> general_;
    std::unique_ptr<FirstRunAssistant> assistant_;
};

} // namespace tidemark::qt
