#include "app/qt/Notices.h"

#include <QDialog>
#include <QPointer>

#include "SyncLibrary/BXSyncFileWatcher.h"
#include "app/qt/OutcomeTexts.h"
#include "app/qt/Texts.h"

namespace tidemark::qt {

namespace {

constexpr const char* table = "Desktop";

QString titleFor(const std::string& configuration)
{
    return text(table, "NOTIFY_TITLE", {{"name", configuration}});
}

void bringToFront(QWidget& window)
{
    window.setWindowState(window.windowState() & ~Qt::WindowMinimized);
    window.raise();
    window.activateWindow();
}

} // namespace

void Notices::runEnded(const std::string& configuration, SequenceOutcome outcome, bool inBackground) const
{
    if (!inBackground || !isTroubleFor(outcome)) return;
    outside_.tell({titleFor(configuration), text(table, "NOTIFY_RUN", {{"result", toUtf8(outcomeText(outcome))}}),
                   [showLog = outside_.showLog, configuration] { showLog(configuration); }});
}

void Notices::watchFailed(const std::string& configuration, const DirectoryWatchFailure& failure) const
{
    const bool isGone = failure.kind == DirectoryWatchFailure::Kind::rootGone;
    outside_.tell(
        {titleFor(configuration),
         text(table, isGone ? "WATCH_GONE" : "WATCH_FAILED", {{"name", configuration}, {"error", failure.text}}),
         [showSettings = outside_.showSettings, configuration] { showSettings(configuration); }});
}

void Notices::questionUnseen(QDialog& question) const
{
    const auto asked = question.accessibleDescription();
    outside_.tell({text(table, "NOTIFY_QUESTION"), asked.isEmpty() ? question.windowTitle() : asked,
                   [open = QPointer(&question)] {
                       if (open) bringToFront(*open);
                   }});
}

} // namespace tidemark::qt
