#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/FrontEnd.h"
#include "app/WaitingTasks.h"
#include "config/BXSyncConf.h"

namespace tidemark {

class BXSyncConfigManager;
class BXSyncRunLock;
class BXSyncTopMenu;
class ServerFolderEmptying;

/// The destructive operations over configurations: forget the sync state, make the local side a copy of the server,
/// make the server side a copy of the local folder. Each asks first and is refused while a sequence runs. Main thread.
class BXSyncMaintenanceMenu
{
public:
    enum class Operation
    {
        syncReset,
        downloadAll,
        uploadAll
    };
    enum class Outcome
    {
        done,
        refused,
        declined,
        stopped
    };

    /// All outlive the menu.
    BXSyncMaintenanceMenu(BXSyncTopMenu& topMenu, BXSyncConfigManager& store, FrontEnd& frontEnd);

    /// Keys of the items' titles, in order.
    static std::vector<std::string> itemKeys();
    static std::string titleKey(Operation operation);

    /// Over every enabled configuration.
    Outcome syncReset();
    Outcome downloadAll();
    Outcome uploadAll();

    /// The same over the configurations `names`; `confirmed` leaves the question out.
    Outcome execute(Operation operation, const std::vector<std::string>& names, bool confirmed);

    /// While the program closes: the operation under way ends as stopped after the entry that it is at, and so does
    /// every later one; no sync follows.
    void stop();

private:
    bool refusedOrDeclined(Operation operation, bool confirmed, Outcome& outcome);
    std::vector<std::shared_ptr<BXSyncConf>> configurations(const std::vector<std::string>& names) const;
    Outcome reset(const std::vector<std::string>& names);
    Outcome download(const std::vector<std::string>& names);
    Outcome upload(const std::vector<std::string>& names);
    /// Keeps the runs of a configuration away, whichever program would start them.
    using Hold = std::unique_ptr<BXSyncRunLock>;
    /// Removes the sync-info file; nothing when the operation is to stop. A run between that and the end of the
    /// operation would take what is half removed for a person's deletions: the holds last until then.
    static std::optional<Hold> forgetState(const BXSyncConf& conf);
    bool emptyLocalFolder(const std::string& localPath) const;
    /// `work` on a thread of its own, while the main thread goes on serving.
    bool inBackground(const char* threadName, const std::function<bool()>& work);
    /// False when the person, or a failure, stops the operation.
    bool serverFileDelete(const std::shared_ptr<BXSyncConf>& conf, std::vector<Hold>& holds);

    BXSyncTopMenu& topMenu_;
    BXSyncConfigManager& store_;
    FrontEnd& frontEnd_;
    std::atomic<bool> stopped_ = false;
    /// The one under way. Main thread.
    ServerFolderEmptying* emptying_ = nullptr;
};

} // namespace tidemark
