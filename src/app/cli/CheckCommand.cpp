#include "app/cli/CheckCommand.h"

#include "SyncLibrary/BXSyncUtils.h"
#include "app/cli/Cancellation.h"
#include "app/cli/Console.h"
#include "app/cli/NamedConfigurations.h"
#include "app/cli/SignIn.h"
#include "config/BXSyncConfigManager.h"

namespace tidemark::cli {

namespace {

std::string serverText(const BXSyncConf& conf)
{
    return conf.marlockVersion().empty() ? "a WebDAV server" : "Marlock " + conf.marlockVersion();
}

/// The answer of the folder check in words; `key` is its error.
std::string refusalText(const std::string& key)
{
    const auto text = BXSyncUtils::localizeAndReplacementMessage(key, "TidemarkResource", {});
    return text.empty() ? key : text;
}

ExitStatus checkFolder(const std::shared_ptr<BXSyncConf>& conf, CommandContext& context)
{
    const Cancellation::Handler cancelling(context.cancellation, [conf] { conf->cancelRequests(); });
    const auto refusal = conf->checkFolderURL();
    if (context.cancellation.isRequested()) return ExitStatus::cancelled;
    if (!refusal) {
        context.console.data(conf->name() + ": the folder can be used; the server is " + serverText(*conf));
        return ExitStatus::done;
    }
    context.console.data(conf->name() + ": " + refusalText(*refusal));
    return *refusal == "CONNECTION_ERROR" ? ExitStatus::connection : ExitStatus::configuration;
}

} // namespace

ExitStatus run(const ConfigCheck& command, BXSyncConfigManager& store, CommandContext& context)
{
    const auto conf = namedConfiguration(command.name, store, context.console);
    if (!conf) return conf.error();
    auto status = ExitStatus::done;
    const auto check = [&] {
        status = signIn(*conf, context);
        if (status == ExitStatus::done) status = checkFolder(*conf, context);
    };
    runBeside(check, [] {});
    return status;
}

} // namespace tidemark::cli
