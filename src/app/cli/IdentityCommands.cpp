#include "app/cli/IdentityCommands.h"

#include "app/ConfigurationInput.h"
#include "app/cli/Console.h"
#include "app/cli/Secrets.h"
#include "app/cli/Terminal.h"
#include "config/BXSyncConfigManager.h"
#include "platform/FileSystem.h"
#include "platform/Localization.h"
#include "security/BXSyncCertificateManager.h"

namespace tidemark::cli {

namespace {

constexpr std::int64_t largestDocument = 1024 * 1024;

ExitStatus refuse(CommandContext& context, ExitStatus status, const std::string& complaint)
{
    context.console.error(complaint);
    return status;
}

IdentityStore& identities()
{
    return BXSyncCertificateManager::getInstance().store();
}

std::string passphrase(CommandContext& context)
{
    if (context.terminal.isInteractive())
        return askSecret(context.console, context.terminal, "Passphrase of the file:").value_or("");
    return context.terminal.readLine().value_or("");
}

} // namespace

ExitStatus run(const IdentityImport& command, BXSyncConfigManager&, CommandContext& context)
{
    const auto path = checkedFolder(command.file, context.workingDirectory);
    if (!path) return refuse(context, ExitStatus::usage, path.error());
    const auto document = fs::readFile(*path, largestDocument);
    if (!document) return refuse(context, ExitStatus::usage, document.error().description());
    auto added = identities().add(*document, "", command.label);
    if (!added && added.error().code == IdentityStore::wrongPassphrase)
        added = identities().add(*document, passphrase(context), command.label);
    if (!added) return refuse(context, ExitStatus::usage, *path + ": " + added.error().description());
    context.console.data(added->identifier);
    context.console.notice("took the identity '" + added->label + "'");
    return ExitStatus::done;
}

ExitStatus run(const IdentityList&, BXSyncConfigManager&, CommandContext& context)
{
    const auto listing = identities().list();
    for (const auto& identity : listing.identities)
        context.console.data(
            identity.identifier + "  " + identity.label + "  " +
            identity.issuer.value_or(Localization::text("TidemarkResource", "UNKNOWN_ISSR_CERTIFICATE")) + "  " +
            dates::formatLocal(identity.expires, "yyyy/MM/dd"));
    for (const auto& path : listing.unreadable)
        context.console.warning(path + " is no identity");
    return ExitStatus::done;
}

ExitStatus run(const IdentityRemove& command, BXSyncConfigManager& store, CommandContext& context)
{
    for (const auto& [name, conf] : store.configs())
        if (conf->certificateId() == command.identifier)
            return refuse(context, ExitStatus::configuration, "the configuration '" + name + "' uses that identity");
    if (const auto removed = identities().remove(command.identifier); !removed)
        return refuse(context, ExitStatus::configuration, removed.error().description());
    return ExitStatus::done;
}

} // namespace tidemark::cli
