#include "app/cli/Program.h"

#include <filesystem>

#include "Logger/BXLogger.h"
#include "Utils/BXTidemarkUtils.h"
#include "app/ConfigurationInput.h"
#include "app/cli/Cancellation.h"
#include "app/cli/CheckCommand.h"
#include "app/cli/CommandLine.h"
#include "app/cli/ConfigCommands.h"
#include "app/cli/Console.h"
#include "app/cli/IdentityCommands.h"
#include "app/cli/MaintenanceCommand.h"
#include "app/cli/RunCommands.h"
#include "app/cli/ScheduleCommands.h"
#include "app/cli/ServiceCommands.h"
#include "app/cli/SettingsCommands.h"
#include "app/cli/Terminal.h"
#include "config/BXSyncConfigManager.h"
#include "config/BXSyncGlobalConf.h"
#include "platform/Localization.h"
#include "platform/Places.h"
#include "platform/Unicode.h"
#include "security/BXSyncPasswordManager.h"

namespace tidemark::cli {

namespace {

/// What the engine's helpers have to say, said on standard error. A question is asked on a terminal; elsewhere, and
/// without an answer, the first choice counts, which changes nothing.
class ConsoleAlerts : public AlertPresenter
{
public:
    ConsoleAlerts(Console& console, Terminal& terminal) : console_(console), terminal_(terminal) {}
    int showAlert(const Alert& alert) override
    {
        if (alert.choices.size() < 2 || !terminal_.isInteractive()) {
            console_.error(alert.message);
            return 0;
        }
        console_.question(alert.message);
        std::string choices;
        for (std::size_t i = 0; i < alert.choices.size(); ++i)
            choices += std::to_string(i + 1) + " " + alert.choices[i] + "  ";
        console_.prompt(choices + "[1] ");
        const auto answer = terminal_.readLine();
        console_.endPrompt(!answer);
        for (std::size_t i = 0; answer && i < alert.choices.size(); ++i)
            if (*answer == std::to_string(i + 1) || caseFold(*answer) == caseFold(alert.choices[i]))
                return static_cast<int>(i);
        return 0;
    }
    std::optional<std::string> selectDirectory(const std::string&, const std::string&) override { return std::nullopt; }

private:
    Console& console_;
    Terminal& terminal_;
};

/// The engine's seams to a front end, in place while this object lives.
class EngineSetup
{
public:
    EngineSetup(Console& console, Terminal& terminal)
    {
        BXSyncConf::setPasswordDelegate(&passwords_);
        BXTidemarkUtils::setAlertPresenter(std::make_shared<ConsoleAlerts>(console, terminal));
        LogFacade::setObserver([&console](LogLevel level, std::string_view text) {
            if (level == LogLevel::error)
                console.error(text);
            else
                console.detail(text);
        });
    }
    ~EngineSetup()
    {
        LogFacade::setObserver(nullptr);
        BXTidemarkUtils::setAlertPresenter(nullptr);
        BXSyncConf::setPasswordDelegate(nullptr);
        BXLogger::flushAll();
    }
    EngineSetup(const EngineSetup&) = delete;
    EngineSetup& operator=(const EngineSetup&) = delete;

private:
    const BXSyncPasswordManager passwords_;
};

template <class T>
constexpr bool isSettingsCommand = std::is_same_v<T, SettingsList> || std::is_same_v<T, SettingsGet> ||
                                   std::is_same_v<T, SettingsSet> || std::is_same_v<T, SettingsUnset>;

ExitStatus dispatch(const Command& command, CommandContext& context)
{
    return std::visit(
        [&](const auto& chosen) {
            if constexpr (isSettingsCommand<std::decay_t<decltype(chosen)>>)
                return run(chosen, BXSyncGlobalConf::getInstance(), context);
            else {
                BXSyncConfigManager store(BXTidemarkUtils::configDirectory(), context.clock);
                store.loadAll();
                return run(chosen, store, context);
            }
        },
        command);
}

ExitStatus dispatchSafely(const Command& command, CommandContext& context)
{
    try {
        return dispatch(command, context);
    } catch (const std::exception& error) {
        BXLogger::globalErrorException(error);
        context.console.error(std::string("unexpected failure: ") + error.what());
        return ExitStatus::itemsFailed;
    }
}

ExitStatus answer(const CommandLineAnswer& given, ProgramWorld& world, Console& console)
{
    world.data << given.output << std::flush;
    if (!given.message.empty()) console.error(given.message + "; see tidemark --help");
    return given.status;
}

} // namespace

ExitStatus runProgram(std::vector<std::string> arguments, ProgramWorld& world)
{
    Console console(world.data, world.messages, world.terminal);
    auto parsed = parseCommandLine(std::move(arguments));
    if (const auto* given = std::get_if<CommandLineAnswer>(&parsed)) return answer(*given, world, console);
    const auto& line = std::get<ParsedCommandLine>(parsed);
    console.setVerbosity(line.global.verbosity);
    const auto workingDirectory = std::filesystem::current_path().string();
    if (line.global.configDirectory) {
        const auto folder = checkedFolder(*line.global.configDirectory, workingDirectory);
        if (!folder) return answer({ExitStatus::usage, {}, "--config-dir: " + folder.error()}, world, console);
        Places::setRoot(*folder);
    }
    // One language for all it says: scripts read it.
    Localization::setLanguage("en");
    const EngineSetup setup(console, world.terminal);
    CommandContext context{console, world.terminal, world.cancellation, world.clock, workingDirectory};
    return dispatchSafely(line.command, context);
}

} // namespace tidemark::cli
