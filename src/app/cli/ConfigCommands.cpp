#include "app/cli/ConfigCommands.h"

#include <algorithm>

#include "app/FolderChange.h"
#include "app/cli/Cancellation.h"
#include "app/cli/ConfigurationEditor.h"
#include "app/cli/ConfigurationWords.h"
#include "app/cli/Console.h"
#include "app/cli/JsonOutput.h"
#include "app/cli/NamedConfigurations.h"
#include "app/cli/RunLocking.h"
#include "app/cli/ScheduleText.h"
#include "app/cli/Secrets.h"
#include "app/cli/Terminal.h"
#include "config/BXSyncConfigManager.h"
#include "platform/FileSystem.h"

namespace tidemark::cli {

namespace {

using Conf = std::shared_ptr<BXSyncConf>;

ExitStatus refuse(CommandContext& context, ExitStatus status, const std::string& complaint)
{
    context.console.error(complaint);
    return status;
}

bool isTaken(const BXSyncConfigManager& store, const std::string& name)
{
    return fs::exists(store.configFilePath(name));
}

ExitStatus saved(BXSyncConfigManager& store, const BXSyncConfigManager::Changes& changes, CommandContext& context)
{
    for (const auto& name : store.save(changes)) {
        context.console.error("the configuration '" + name + "' cannot be written");
        return ExitStatus::configuration;
    }
    return ExitStatus::done;
}

/// Checks the edited configuration as a whole, saves it and tells what a person should know about it.
ExitStatus saveEdited(BXSyncConfigManager& store, const Conf& conf, CommandContext& context)
{
    if (const auto folder = checkLocalFolder(*conf, store); !folder)
        return refuse(context, ExitStatus::usage, folder.error());
    const auto warnings = warningSentences(*conf, store);
    const auto status = saved(store, {{conf->name(), conf}}, context);
    if (status == ExitStatus::done)
        for (const auto& warning : warnings)
            context.console.warning(warning);
    return status;
}

/// Why the options were not applied, and the status for it.
ExitStatus refuseOptions(CommandContext& context, const std::string& complaint)
{
    const bool isCancelled = context.cancellation.isRequested();
    return refuse(context, isCancelled ? ExitStatus::cancelled : ExitStatus::usage, complaint);
}

std::string padded(std::string text, std::size_t width)
{
    text.resize(std::max(width, text.size()), ' ');
    return text;
}

void showLine(CommandContext& context, const char* label, const std::string& value)
{
    context.console.data(padded(label, 18) + value);
}

std::string userText(const ASHttpConnectInfo& info)
{
    if (!info.isUseAuthorization()) return "-";
    return info.username() + (info.password().empty() ? " (no password stored)" : " (password stored)");
}

std::string proxyText(const ASHttpConnectInfo& info)
{
    if (!info.isUseProxy()) return "-";
    const auto user = info.isUseProxyAuthorization() ? info.proxyUsername() + " at " : std::string();
    return user + info.proxyHost() + ":" + std::to_string(info.proxyPort().value_or(0));
}

void show(const BXSyncConf& conf, CommandContext& context)
{
    showLine(context, "name", conf.name());
    showLine(context, "enabled", conf.enable() ? "yes" : "no");
    showLine(context, "autosync", conf.autosync() ? "yes" : "no");
    for (const auto& schedule : conf.syncSchedules())
        showLine(context, "schedule", scheduleText(schedule));
    showLine(context, "url", conf.serverURL());
    showLine(context, "local", conf.localPath());
    showLine(context, "mode", std::string(modeWord(conf.mode())));
    showLine(context, "user", userText(*conf.info()));
    showLine(context, "proxy", proxyText(*conf.info()));
    showLine(context, "identity", conf.certificateId().empty() ? "-" : conf.certificateId());
    showLine(context, "server-cert", conf.ignoreServerCert() ? "not checked" : "checked");
    showLine(context, "encrypted", conf.encryptKey().empty() ? "no" : "yes");
    showLine(context, "on-conflict", conf.conflict());
    showLine(context, "on-server-delete", conf.serverDelete());
    showLine(context, "on-local-delete", conf.localDelete());
    showLine(context, "log-dir", conf.syncLogPath().empty() ? "-" : conf.syncLogPath());
    showLine(context, "log-days", std::to_string(conf.logKeepDays()));
    if (const auto created = conf.creationDate())
        showLine(context, "created", dates::formatLocal(*created, "yyyy/MM/dd HH:mm:ss"));
}

std::string listLine(const BXSyncConf& conf, std::size_t nameWidth)
{
    return padded(conf.name(), nameWidth) + "  " + padded(std::string(modeWord(conf.mode())), 8) + "  " +
           conf.localPath() + "  " + conf.serverURL() + (conf.enable() ? "" : "  (disabled)");
}

std::vector<Conf> allConfigurations(BXSyncConfigManager& store)
{
    std::vector<Conf> confs;
    for (const auto& name : store.configNames())
        if (auto conf = store.get(name, true)) confs.push_back(std::move(conf));
    return confs;
}

bool agreesToDelete(const ConfigDelete& command, CommandContext& context)
{
    if (command.yes || !context.terminal.isInteractive()) return true;
    const auto answer =
        askLine(context.console, context.terminal,
                "Delete the configuration '" + command.name + "'? The files of both folders stay. [y/N]");
    return answer && (*answer == "y" || *answer == "Y" || *answer == "yes");
}

} // namespace

ExitStatus run(const ConfigCreate& command, BXSyncConfigManager& store, CommandContext& context)
{
    const auto name = checkedName(command.name);
    if (!name) return refuse(context, ExitStatus::usage, name.error());
    if (isTaken(store, *name))
        return refuse(context, ExitStatus::configuration, "there is a configuration '" + *name + "' already");
    auto conf = std::make_shared<BXSyncConf>();
    conf->setName(*name);
    // What a configuration of that name once knew of its files is not about these folders.
    conf->setSyncinfoPath(store.syncInfoPath(*name));
    conf->setDiscardPsi(true);
    if (const auto applied = applyOptions(command.options, *conf, context); !applied)
        return refuseOptions(context, applied.error());
    const auto status = saveEdited(store, conf, context);
    if (status == ExitStatus::done) context.console.notice("made the configuration '" + *name + "'");
    return status;
}

ExitStatus run(const ConfigList& command, BXSyncConfigManager& store, CommandContext& context)
{
    const auto confs = allConfigurations(store);
    const auto broken = store.brokenConfigurations();
    for (const auto& [name, error] : broken)
        context.console.error("the configuration '" + name + "' cannot be read: " + error.description());
    if (command.json) {
        context.console.document(json::configurations(confs));
        return broken.empty() ? ExitStatus::done : ExitStatus::configuration;
    }
    std::size_t nameWidth = 0;
    for (const auto& conf : confs)
        nameWidth = std::max(nameWidth, conf->name().size());
    for (const auto& conf : confs)
        context.console.data(listLine(*conf, nameWidth));
    return broken.empty() ? ExitStatus::done : ExitStatus::configuration;
}

ExitStatus run(const ConfigShow& command, BXSyncConfigManager& store, CommandContext& context)
{
    const auto conf = namedConfiguration(command.name, store, context.console);
    if (!conf) return conf.error();
    if (command.json)
        context.console.document(json::configuration(**conf));
    else
        show(**conf, context);
    return ExitStatus::done;
}

ExitStatus run(const ConfigSet& command, BXSyncConfigManager& store, CommandContext& context)
{
    const auto conf = namedConfiguration(command.name, store, context.console);
    if (!conf) return conf.error();
    const auto lock = lockRuns((*conf)->syncinfoPath(), (*conf)->name(), context);
    if (!lock) return lock.error();
    const auto formerFolder = (*conf)->localPath();
    if (const auto applied = applyOptions(command.options, **conf, context); !applied)
        return refuseOptions(context, applied.error());
    if (const auto left = leaveFolder(**conf, formerFolder); !left)
        return refuse(context, ExitStatus::configuration,
                      "an interrupted download in " + formerFolder +
                          " cannot be put right: " + left.error().description());
    return saveEdited(store, *conf, context);
}

ExitStatus run(const ConfigRename& command, BXSyncConfigManager& store, CommandContext& context)
{
    const auto newName = checkedName(command.newName);
    if (!newName) return refuse(context, ExitStatus::usage, newName.error());
    const auto conf = namedConfiguration(command.name, store, context.console);
    if (!conf) return conf.error();
    if (isTaken(store, *newName))
        return refuse(context, ExitStatus::configuration, "there is a configuration '" + *newName + "' already");
    const auto lock = lockRuns((*conf)->syncinfoPath(), (*conf)->name(), context);
    if (!lock) return lock.error();
    const auto oldName = (*conf)->name();
    (*conf)->setName(*newName);
    return saved(store, {{*newName, *conf}, {oldName, nullptr}}, context);
}

ExitStatus run(const ConfigDelete& command, BXSyncConfigManager& store, CommandContext& context)
{
    // A configuration that cannot be read can still be deleted.
    const auto name = checkedName(command.name);
    if (!name || !isTaken(store, *name))
        return refuse(context, ExitStatus::configuration, "there is no configuration '" + command.name + "'");
    const auto lock = lockRuns(store.syncInfoPath(*name), *name, context);
    if (!lock) return lock.error();
    if (!agreesToDelete(command, context)) return ExitStatus::cancelled;
    return saved(store, {{*name, nullptr}}, context);
}

} // namespace tidemark::cli
