#include "app/qt/TrayApplication.h"

#include <QApplication>

#include "Utils/BXTidemarkUtils.h"
#include "app/SyncItem.h"
#include "app/SyncTaskRun.h"
#include "app/qt/OutcomeTexts.h"
#include "app/qt/SingleInstance.h"
#include "app/qt/Texts.h"
#include "app/qt/TrayWindows.h"
#include "app/qt/dialogs/ModalQuestion.h"
#include "app/qt/dialogs/QtDialogs.h"
#include "config/BXSyncConfigManager.h"
#include "config/BXSyncGlobalConf.h"
#include "config/BXSyncTask.h"
#include "platform/Memory.h"

namespace tidemark::qt {

namespace {

constexpr int checkMilliseconds = 1000;
constexpr int exitStepMilliseconds = 20;
constexpr int memoryMilliseconds = 1000;
constexpr std::chrono::seconds patienceWithQuestions(3);

TrayWindows::Outside windowsOutside(const TrayApplication::Outside& outside, BXSyncProgressModel& progress,
                                    SyncItems& items)
{
    return {outside.store, outside.settings, progress, items};
}

} // namespace

TrayApplication::TrayApplication(Outside outside)
    : outside_(outside), served_(outside.store, outside.clock, "tidemark-tray"),
      dialogs_(std::make_shared<QtDialogs>()), confirm_(*dialogs_), credentials_(outside.store),
      progress_(outside.clock), windows_(std::make_unique<TrayWindows>(windowsOutside(outside, progress_, items_))),
      menu_({outside.store, outside.settings, progress_, *this, outside.clock,
             [this](const BXSyncTask& task) {
                 return std::make_shared<SyncTaskRun>(
                     task, SyncTaskRun::Outside{outside_.store, outside_.settings, progress_, &confirm_, &items_});
             }}),
      maintenance_(menu_, outside.store, *this),
      notices_({[this](const Notice& notice) {
                    if (statusItem_) statusItem_->notify(notice);
                },
                [this](const std::string& name) { windows_->showLog(name); },
                [this](const std::string& name) { windows_->showSettings(name); }})
{
    BXTidemarkUtils::setAlertPresenter(dialogs_);
    dialogs_->setCredentialsAnswered([this](const std::string& name, KeptCredentials::Of of, bool toBeKept) {
        credentials_.answered(name, of, toBeKept);
    });
    windows_->setActions({[this] { return menu_.syncExecuting(); },
                          [this](const std::vector<std::string>& names) {
                              if (!exit_.isActive()) menu_.syncStart(names, false);
                          }});
    watchWork_.setMaxThreadCount(1);
    check_.setSingleShot(true);
    check_.setInterval(checkMilliseconds);
    connect(&check_, &QTimer::timeout, this, &TrayApplication::check);
    exit_.setInterval(exitStepMilliseconds);
    connect(&exit_, &QTimer::timeout, this, &TrayApplication::stepToExit);
}

TrayApplication::~TrayApplication()
{
    ModalQuestion::watch({}, {});
    ModalQuestion::dismissAll();
    BXTidemarkUtils::setAlertPresenter(nullptr);
    ModalQuestion::admit();
    outside_.store.setWatchWorker({});
    watchWork_.clear();
    watchWork_.waitForDone();
}

std::string TrayApplication::begin()
{
    auto refusal = served_.begin();
    if (refusal.empty())
        instance_ = std::make_unique<SingleInstance>(outside_.store.directory(), [this] { windows_->showSettings(); });
    return refusal;
}

void TrayApplication::start()
{
    statusMenu_ = std::make_unique<StatusMenu>(
        [this] { return outside_.store.enableConfigNames(); },
        [this](StatusMenuEntry::Action action, const std::string& name) { perform(action, name); });
    statusItem_ = std::make_unique<StatusItem>(*statusMenu_);
    ModalQuestion::watch(patienceWithQuestions, [this](QDialog& question) { notices_.questionUnseen(question); });
    startWatching();
    changes_ = std::make_unique<ConfigurationChanges>(outside_.store);
    check_.start();
    if (outside_.store.configNames().empty()) windows_->showAssistant();
}

void TrayApplication::startWatching()
{
    outside_.store.setWatchWorker([this](std::function<void()> work) { watchWork_.start(std::move(work)); });
    outside_.store.startWatching();
    if (!outside_.settings.syncOnStartUp()) return;
    // Once all is watched: what the first run itself changes is then no news for another one.
    watchWork_.start([this] {
        outside_.loop.post([this] {
            if (!exit_.isActive() && !menu_.syncExecuting()) menu_.execSyncOnTerminate(false, {});
        });
    });
}

void TrayApplication::check()
{
    if (exit_.isActive()) return;
    if (changes_->takeUp()) windows_->configurationsChanged();
    menu_.scheduleAndAutoSyncCheck();
    check_.start();
}

void TrayApplication::perform(StatusMenuEntry::Action action, const std::string& name)
{
    using Action = StatusMenuEntry::Action;
    if (exit_.isActive() && action != Action::exit) return;
    switch (action) {
    case Action::syncAll:
    case Action::syncListAll:
        return menu_.syncStart(outside_.store.enableConfigNames(), action == Action::syncListAll);
    case Action::sync:
    case Action::syncList:
        return menu_.syncStart(std::vector{name}, action == Action::syncList);
    case Action::openSetting:
        return windows_->showSettings();
    case Action::syncReset:
    case Action::downloadAll:
    case Action::uploadAll:
        return maintain(action);
    case Action::openVersionWindow:
        return windows_->showVersion();
    case Action::exit:
        if (windows_->closeSettings()) requestExit();
        return;
    case Action::none:
        break;
    }
}

void TrayApplication::maintain(StatusMenuEntry::Action action)
{
    // It asks and waits: the menu has closed by then.
    outside_.loop.post([this, action] {
        if (action == StatusMenuEntry::Action::syncReset)
            maintenance_.syncReset();
        else if (action == StatusMenuEntry::Action::downloadAll)
            maintenance_.downloadAll();
        else
            maintenance_.uploadAll();
    });
}

void TrayApplication::requestExit()
{
    ModalQuestion::dismissAll();
    maintenance_.stop();
    if (exit_.isActive()) {
        menu_.cancelSync();
        mayQuit_ = true;
        return;
    }
    wantsLastSync_ = outside_.settings.syncOnExit();
    menu_.cancelSync();
    exit_.start();
}

/// What waits further down the stack has to return first; so the end comes in steps from the outermost loop.
void TrayApplication::stepToExit()
{
    if (outside_.loop.isNested() || ModalQuestion::isOpen()) return;
    if (wantsLastSync_ && !lastSyncBegan_ && !mayQuit_) {
        if (menu_.syncExecuting()) return;
        lastSyncBegan_ = true;
        // The last sync may ask; a second request to end calls its questions off.
        ModalQuestion::admit();
        menu_.execSyncOnTerminate(true, [this] { mayQuit_ = true; });
        return;
    }
    if (menu_.syncExecuting() || (lastSyncBegan_ && !mayQuit_)) return;
    exit_.stop();
    served_.end();
    // Not quit(): that asks every window, and the one that stands in for the status item does not close.
    QApplication::exit();
}

void TrayApplication::showState()
{
    if (!statusItem_) return;
    const auto running = served_.history().running();
    if (!running.empty())
        return statusItem_->show(StatusItem::State::running, text("Desktop", "TOOLTIP_RUNNING", {{"name", running}}));
    bool isTrouble = false;
    for (const auto& name : outside_.store.configNames()) {
        const auto last = served_.history().last(name);
        isTrouble |= last && isTroubleFor(last->outcome);
    }
    const auto last = served_.history().last(lastName_);
    const auto toolTip = last ? text("Desktop", "TOOLTIP_LAST",
                                     {{"name", lastName_},
                                      {"result", toUtf8(outcomeText(last->outcome))},
                                      {"time", dates::formatLocal(last->time, "HH:mm")}})
                              : text("Desktop", "TOOLTIP_IDLE");
    statusItem_->show(isTrouble ? StatusItem::State::trouble : StatusItem::State::idle, toolTip);
}

void TrayApplication::runEnded(const std::string& name, SequenceOutcome outcome, bool inBackground)
{
    lastName_ = name;
    showState();
    notices_.runEnded(name, outcome, inBackground);
}

void TrayApplication::sequenceWillBegin(bool progressShown)
{
    items_.resetSyncList();
    windows_->resetSyncList();
    if (progressShown) windows_->showProgress();
}

void TrayApplication::bringProgressToFront()
{
    windows_->bringProgressToFront();
}

void TrayApplication::hideProgress()
{
    // The items of a long run are a large part of what the program holds.
    items_.resetSyncList();
    windows_->hideProgress();
    // The sequence's thread lets go of what it holds once this has returned.
    QTimer::singleShot(memoryMilliseconds, this, [] { QThreadPool::globalInstance()->start(&Memory::giveFreedBack); });
}

void TrayApplication::addList(const std::vector<BXSyncFileDataInfo*>& items, const std::string& confName)
{
    outside_.loop.post(
        [this, copies = syncItems(items), confName]() mutable { windows_->addList(confName, std::move(copies)); });
}

void TrayApplication::showSyncList()
{
    windows_->showSyncList();
}

bool TrayApplication::loginDialog(BXSyncConf& conf, LoginReason reason)
{
    return BXSyncDialogEvent::loginDialogEvent(*dialogs_, conf, reason);
}

void TrayApplication::runMainLoopUntil(const std::function<bool()>& done)
{
    outside_.loop.runUntil(done);
}

void TrayApplication::wakeMainLoop()
{
    outside_.loop.wake();
}

void TrayApplication::watchDidFail(const std::string& confName, const DirectoryWatchFailure& failure)
{
    notices_.watchFailed(confName, failure);
}

void TrayApplication::taskDidBegin(const BXSyncTask& task)
{
    served_.history().begin(task.name);
    outside_.loop.post([this] { showState(); });
}

void TrayApplication::taskDidEnd(const BXSyncTask& task, SequenceOutcome outcome)
{
    served_.history().end(task.name, outcome, outside_.clock.wallNow());
    const bool inBackground = task.autoSync || task.scheduleSync;
    outside_.loop.post([this, name = task.name, conf = task.conf, outcome, inBackground] {
        const bool isSignedIn = outcome != SequenceOutcome::loginFailed && outcome != SequenceOutcome::cancelled;
        credentials_.runEnded(name, *conf, isSignedIn);
        runEnded(name, outcome, inBackground);
    });
}

} // namespace tidemark::qt
