#include "app/qt/TrayWindows.h"

#include "app/qt/Texts.h"
#include "app/qt/VersionWindow.h"
#include "app/qt/logs/LogViewer.h"
#include "app/qt/progress/ProgressWindow.h"
#include "app/qt/progress/SyncListWindow.h"
#include "app/qt/settings/FirstRunAssistant.h"
#include "app/qt/settings/GlobalSettingsWindow.h"
#include "app/qt/settings/SettingsWindow.h"

namespace tidemark::qt {

namespace {

void bringToFront(QWidget& window)
{
    window.show();
    window.setWindowState(window.windowState() & ~Qt::WindowMinimized);
    window.raise();
    window.activateWindow();
}

std::vector<std::string> toUtf8(const QStringList& names)
{
    std::vector<std::string> texts;
    for (const auto& name : names)
        texts.push_back(qt::toUtf8(name));
    return texts;
}

} // namespace

TrayWindows::TrayWindows(Outside outside)
    : outside_(outside), progress_(std::make_unique<ProgressWindow>(outside.progress, outside.items)),
      syncList_(std::make_unique<SyncListWindow>())
{
    // A run that begins by itself takes nobody's keyboard away.
    progress_->setAttribute(Qt::WA_ShowWithoutActivating);
    QObject::connect(syncList_.get(), &SyncListWindow::synchronizeRequested, syncList_.get(),
                     [this](const QStringList& names) {
                         syncList_->close();
                         actions_.synchronize(toUtf8(names));
                     });
}

TrayWindows::~TrayWindows() = default;

void TrayWindows::showProgress()
{
    progress_->show();
}

void TrayWindows::bringProgressToFront()
{
    bringToFront(*progress_);
}

void TrayWindows::hideProgress()
{
    progress_->hide();
    progress_->refresh(); // lets go of the items
}

void TrayWindows::resetSyncList()
{
    // Somebody who looks at a list keeps it; what is listed anew takes its place.
    if (!syncList_->isVisible()) syncList_->resetSyncList();
}

void TrayWindows::addList(const std::string& configuration, std::vector<SyncItem> items)
{
    syncList_->addList(configuration, std::move(items));
}

void TrayWindows::showSyncList()
{
    bringToFront(*syncList_);
}

void TrayWindows::showLog(const std::string& configuration)
{
    if (!log_) log_ = std::make_unique<LogViewer>(outside_.store, outside_.settings);
    if (!configuration.empty()) log_->showConfiguration(configuration);
    bringToFront(*log_);
}

void TrayWindows::showVersion()
{
    if (!version_) version_ = std::make_unique<VersionWindow>();
    bringToFront(*version_);
}

void TrayWindows::showSettings(const std::string& configuration)
{
    if (!settings_)
        settings_ = std::make_unique<SettingsWindow>(SettingsWindow::Outside{
            outside_.store, [this](const std::string& name) { showLog(name); }, [this] { showGeneralSettings(); }});
    if (configuration.empty())
        settings_->reload();
    else
        settings_->showConfiguration(configuration);
    bringToFront(*settings_);
}

void TrayWindows::showGeneralSettings()
{
    if (!general_) general_ = std::make_unique<GlobalSettingsWindow>(outside_.settings);
    if (!general_->isVisible()) general_->load();
    bringToFront(*general_);
}

bool TrayWindows::closeSettings()
{
    const auto isClosed = [](QWidget* window) { return !window || !window->isVisible() || window->close(); };
    return isClosed(settings_.get()) && isClosed(general_.get());
}

void TrayWindows::showAssistant()
{
    if (!assistant_) {
        assistant_ = std::make_unique<FirstRunAssistant>(outside_.store);
        QObject::connect(assistant_.get(), &QDialog::accepted, assistant_.get(),
                         [this] { actions_.synchronize({assistant_->createdName()}); });
    }
    bringToFront(*assistant_);
}

void TrayWindows::configurationsChanged()
{
    if (settings_) settings_->reload();
}

} // namespace tidemark::qt
