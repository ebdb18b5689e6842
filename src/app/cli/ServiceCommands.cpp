#include "app/cli/ServiceCommands.h"

#include "app/SyncService.h"
#include "app/cli/Cancellation.h"
#include "app/cli/Console.h"
#include "app/cli/Terminal.h"
#include "app/cli/TerminalConfirm.h"
#include "config/BXSyncConfigManager.h"
#include "config/BXSyncGlobalConf.h"

namespace tidemark::cli {

namespace {

/// A service that was started at a terminal asks nobody either: a question would hold up all that follows.
class NobodyToAsk final : public Terminal
{
public:
    bool isInteractive() const override { return false; }
    bool showsProgress() const override { return false; }
    bool showsColours() const override { return false; }
    std::size_t columns() const override { return 0; }
    std::optional<std::string> readLine() override { return std::nullopt; }
    std::optional<std::string> readSecret(const std::function<void()>&) override { return std::nullopt; }
    Wait waitForReturn(std::chrono::milliseconds) override { return Wait::elapsed; }
};

std::string timeText(const std::optional<dates::Time>& time)
{
    return time ? dates::formatLocal(*time, "yyyy/MM/dd HH:mm:ss") : "-";
}

std::string statusLine(const ServiceStatus::Configuration& configuration)
{
    std::string line = configuration.name + (configuration.enabled ? "" : " (disabled)");
    line += ": last " + (configuration.lastResult.empty() ? "-" : configuration.lastResult) + " at " +
            timeText(configuration.lastTime);
    line += ", next schedule " + timeText(configuration.nextSchedule);
    return line + ", watcher " + configuration.watcher;
}

} // namespace

ExitStatus run(const Serve& command, BXSyncConfigManager& store, CommandContext& context)
{
    NobodyToAsk nobody;
    CommandContext unattended{context.console, nobody, context.cancellation, context.clock, context.workingDirectory};
    TerminalConfirm confirm(unattended, {command.onDelete, command.onConflict, true});
    SyncService service({store, BXSyncGlobalConf::getInstance(), context.clock, confirm,
                         [&context](const std::string& text) { context.console.notice(text); }},
                        "tidemark run");
    if (const auto complaint = service.begin(); !complaint.empty()) {
        context.console.error(complaint);
        return ExitStatus::busy;
    }
    const Cancellation::Handler onTermination(context.cancellation, [&service] { service.terminate(); });
    const Cancellation::HangUpHandler onHangUp(context.cancellation, [&service] { service.reload(); });
    context.console.notice("serving " + store.directory());
    service.serve();
    return ExitStatus::done;
}

ExitStatus run(const ShowStatus& command, BXSyncConfigManager& store, CommandContext& context)
{
    const auto text = readStatus(statusSocketPath(store.directory()));
    const auto status = text ? ServiceStatus::fromJson(*text) : std::nullopt;
    if (!status) {
        context.console.error("no service runs for " + store.directory());
        return ExitStatus::connection;
    }
    if (command.json) {
        context.console.document(*text);
        return ExitStatus::done;
    }
    context.console.data(status->program + " (process " + std::to_string(status->processId) +
                         "): " + (status->running.empty() ? "idle" : "synchronising " + status->running));
    for (const auto& configuration : status->configurations)
        context.console.data("  " + statusLine(configuration));
    return ExitStatus::done;
}

} // namespace tidemark::cli
