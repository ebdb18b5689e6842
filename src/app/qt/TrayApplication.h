#pragma once

#include <memory>
#include <string>

#include <QObject>
#include <QThreadPool>
#include <QTimer>

#include "app/BXSyncDialogEvent.h"
#include "app/BXSyncMaintenanceMenu.h"
#include "app/BXSyncProgressModel.h"
#include "app/BXSyncTopMenu.h"
#include "app/ConfigurationChanges.h"
#include "app/FrontEnd.h"
#include "app/KeptCredentials.h"
#include "app/ServedDirectory.h"
#include "app/StatusMenuEntries.h"
#include "app/SyncItems.h"
#include "app/qt/MainLoop.h"
#include "app/qt/Notices.h"
#include "app/qt/StatusItem.h"
#include "app/qt/StatusMenu.h"

namespace tidemark {
class BXSyncConfigManager;
class BXSyncGlobalConf;
} // namespace tidemark

namespace tidemark::qt {

class QtDialogs;
class SingleInstance;
class TrayWindows;

/// The desktop application: status item and windows over the engine, in step with the configuration directory. Belongs
/// to the main thread; no server is asked and no folder is listed on it.
class TrayApplication final : public QObject, private FrontEnd
{
public:
    /// All outlive the application.
    struct Outside
    {
        BXSyncConfigManager& store;
        BXSyncGlobalConf& settings;
        const Clock& clock;
        MainLoop& loop;
    };

    explicit TrayApplication(Outside outside);
    ~TrayApplication() override;

    /// Takes the configuration directory for this process; "" or why not.
    std::string begin();
    /// Shows the status item and starts watching; without any configuration the first-run assistant comes up.
    void start();
    /// Closes questions with their harmless answers, synchronises once more where the settings say so, then quits the
    /// event loop. Asked again meanwhile, it leaves the last sync out.
    void requestExit();

    const StatusItem& statusItem() const { return *statusItem_; }
    StatusMenu& menu() { return *statusMenu_; }
    BXSyncTopMenu& topMenu() { return menu_; }
    TrayWindows& windows() { return *windows_; }
    void perform(StatusMenuEntry::Action action, const std::string& name);

private:
    void startWatching();
    void check();
    void stepToExit();
    void maintain(StatusMenuEntry::Action action);
    void runEnded(const std::string& name, SequenceOutcome outcome, bool inBackground);
    void showState();

    void sequenceWillBegin(bool progressShown) override;
    void bringProgressToFront() override;
    void hideProgress() override;
    void addList(const std::vector<BXSyncFileDataInfo*>& items, const std::string& confName) override;
    void showSyncList() override;
    bool loginDialog(BXSyncConf& conf, LoginReason reason) override;
    void runMainLoopUntil(const std::function<bool()>& done) override;
    void wakeMainLoop() override;
    void watchDidFail(const std::string& confName, const DirectoryWatchFailure& failure) override;
    void taskDidBegin(const BXSyncTask& task) override;
    void taskDidEnd(const BXSyncTask& task, SequenceOutcome outcome) override;

    Outside outside_;
    ServedDirectory served_;
    std::unique_ptr<SingleInstance> instance_;
    std::shared_ptr<QtDialogs> dialogs_;
    BXSyncDialogEvent confirm_;
    KeptCredentials credentials_;
    BXSyncProgressModel progress_;
    SyncItems items_;
    std::unique_ptr<ConfigurationChanges> changes_;
    std::unique_ptr<TrayWindows> windows_;
    BXSyncTopMenu menu_;
    BXSyncMaintenanceMenu maintenance_;
    const Notices notices_;
    std::unique_ptr<StatusMenu> statusMenu_;
    std::unique_ptr<StatusItem> statusItem_;
    /// One thread: where watches are begun and ended.
    QThreadPool watchWork_;
    QTimer check_;
    QTimer exit_;
    std::string lastName_;
    bool wantsLastSync_ = false;
    bool lastSyncBegan_ = false;
    bool mayQuit_ = false;
};

} // namespace tidemark::qt
