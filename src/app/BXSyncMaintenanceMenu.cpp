#include "app/BXSyncMaintenanceMenu.h"

#include "SyncLibrary/BXSyncRunLock.h"
#include "Utils/BXTidemarkUtils.h"
#include "app/BXSyncTopMenu.h"
#include "app/ServerFolderEmptying.h"
#include "config/BXSyncConfigManager.h"
#include "platform/FileSystem.h"
#include "platform/Threads.h"

namespace tidemark {

namespace {

constexpr const char* table = "TidemarkResource";
constexpr int yes = 1;

bool goesOnWithout(const std::string& path)
{
    return BXTidemarkUtils::showSelectAlert("FILEDELETE_ERROR_CONFIRM", "ERROR", {"NO", "YES"}, AlertStyle::critical,
                                            table, {{"filename", path}}) == yes;
}

std::shared_ptr<BXSyncTask> taskFor(const std::shared_ptr<BXSyncConf>& conf)
{
    auto task = std::make_shared<BXSyncTask>();
    task->name = conf->name();
    task->conf = conf;
    return task;
}

} // namespace

BXSyncMaintenanceMenu::BXSyncMaintenanceMenu(BXSyncTopMenu& topMenu, BXSyncConfigManager& store, FrontEnd& frontEnd)
    : topMenu_(topMenu), store_(store), frontEnd_(frontEnd)
{
}

std::vector<std::string> BXSyncMaintenanceMenu::itemKeys()
{
    return {titleKey(Operation::syncReset), titleKey(Operation::downloadAll), titleKey(Operation::uploadAll)};
}

std::string BXSyncMaintenanceMenu::titleKey(Operation operation)
{
    switch (operation) {
    case Operation::syncReset:
        return "RESET_SYNC_INFO";
    case Operation::downloadAll:
        return "DOWNLOAD_ALL_FILES";
    case Operation::uploadAll:
        return "UPLOAD_ALL_FILES";
    }
    return {};
}

BXSyncMaintenanceMenu::Outcome BXSyncMaintenanceMenu::syncReset()
{
    return execute(Operation::syncReset, store_.enableConfigNames(), false);
}

BXSyncMaintenanceMenu::Outcome BXSyncMaintenanceMenu::downloadAll()
{
    return execute(Operation::downloadAll, store_.enableConfigNames(), false);
}

BXSyncMaintenanceMenu::Outcome BXSyncMaintenanceMenu::uploadAll()
{
    return execute(Operation::uploadAll, store_.enableConfigNames(), false);
}

BXSyncMaintenanceMenu::Outcome BXSyncMaintenanceMenu::execute(Operation operation,
                                                              const std::vector<std::string>& names, bool confirmed)
{
    Outcome outcome = Outcome::done;
    if (refusedOrDeclined(operation, confirmed, outcome)) return outcome;
    switch (operation) {
    case Operation::syncReset:
        return reset(names);
    case Operation::downloadAll:
        return download(names);
    case Operation::uploadAll:
        return upload(names);
    }
    return outcome;
}

bool BXSyncMaintenanceMenu::refusedOrDeclined(Operation operation, bool confirmed, Outcome& outcome)
{
    if (topMenu_.syncExecuting()) {
        BXTidemarkUtils::showErrorAlert("ALREADY_SYNC_EXECUTEING");
        outcome = Outcome::refused;
        return true;
    }
    const std::string title = titleKey(operation);
    if (confirmed || BXTidemarkUtils::showSelectAlert(title + "_CONFIRM_MESSAGE", title, {"NO", "YES"}) == yes)
        return false;
    outcome = Outcome::declined;
    return true;
}

std::vector<std::shared_ptr<BXSyncConf>>
BXSyncMaintenanceMenu::configurations(const std::vector<std::string>& names) const
{
    std::vector<std::shared_ptr<BXSyncConf>> found;
    for (const auto& name : names)
        if (auto conf = store_.get(name, true)) found.push_back(std::move(conf));
    return found;
}

BXSyncMaintenanceMenu::Outcome BXSyncMaintenanceMenu::reset(const std::vector<std::string>& names)
{
    for (const auto& conf : configurations(names))
        if (!forgetState(*conf)) return Outcome::stopped;
    return Outcome::done;
}

BXSyncMaintenanceMenu::Outcome BXSyncMaintenanceMenu::download(const std::vector<std::string>& names)
{
    TaskList tasks;
    std::vector<Hold> holds;
    for (const auto& conf : configurations(names)) {
        auto hold = forgetState(*conf);
        const auto empty = [this, path = conf->localPath()] { return emptyLocalFolder(path); };
        if (!hold || !inBackground("LocalFolderEmptying", empty)) return Outcome::stopped;
        holds.push_back(std::move(*hold));
        tasks.push_back(taskFor(conf));
    }
    holds.clear();
    topMenu_.syncStart(std::move(tasks), false, false);
    return Outcome::done;
}

BXSyncMaintenanceMenu::Outcome BXSyncMaintenanceMenu::upload(const std::vector<std::string>& names)
{
    TaskList tasks;
    std::vector<Hold> holds;
    for (const auto& conf : configurations(names)) {
        if (!serverFileDelete(conf, holds)) return Outcome::stopped;
        tasks.push_back(taskFor(conf));
    }
    holds.clear();
    topMenu_.syncStart(std::move(tasks), false, false);
    return Outcome::done;
}

std::optional<BXSyncMaintenanceMenu::Hold> BXSyncMaintenanceMenu::forgetState(const BXSyncConf& conf)
{
    auto lock = BXSyncRunLock::tryAcquire(conf.syncinfoPath());
    if (lock && !*lock) {
        BXTidemarkUtils::showErrorAlert("ALREADY_SYNC_EXECUTEING");
        return std::nullopt;
    }
    const bool removed = lock && (!fs::exists(conf.syncinfoPath()) || fs::removeFile(conf.syncinfoPath()));
    if (!removed && !goesOnWithout(conf.syncinfoPath())) return std::nullopt;
    return lock ? std::move(*lock) : nullptr;
}

bool BXSyncMaintenanceMenu::emptyLocalFolder(const std::string& localPath) const
{
    const auto entries = fs::listFolder(localPath);
    if (!entries) return goesOnWithout(localPath);
    for (const auto& entry : *entries) {
        if (stopped_) return false;
        const auto path = fs::joinPath(localPath, entry.name);
        if (!fs::removeTree(path) && !goesOnWithout(path)) return false;
    }
    return true;
}

bool BXSyncMaintenanceMenu::serverFileDelete(const std::shared_ptr<BXSyncConf>& conf, std::vector<Hold>& holds)
{
    auto askForLogin = [this](BXSyncConf& asked, LoginReason reason) {
        bool answer = false;
        BXTidemarkUtils::execMainThread([&] { answer = frontEnd_.loginDialog(asked, reason); });
        return answer;
    };
    auto forget = [&holds, conf] {
        auto hold = forgetState(*conf);
        if (hold) holds.push_back(std::move(*hold));
        return hold.has_value();
    };
    ServerFolderEmptying emptying(conf, askForLogin, forget);
    emptying_ = &emptying;
    const bool goesOn = inBackground("ServerFileDelete", [&emptying] { return emptying.run(); });
    emptying_ = nullptr;
    return goesOn;
}

bool BXSyncMaintenanceMenu::inBackground(const char* threadName, const std::function<bool()>& work)
{
    if (stopped_) return false;
    std::atomic<bool> goesOn = false;
    NamedThread thread(
        threadName, [&] { goesOn = work(); }, [this] { frontEnd_.wakeMainLoop(); });
    frontEnd_.runMainLoopUntil([&thread] { return thread.isFinished(); });
    return goesOn && !stopped_;
}

void BXSyncMaintenanceMenu::stop()
{
    stopped_ = true;
    if (emptying_) emptying_->cancel();
}

} // namespace tidemark
