#include "app/cli/NamedConfigurations.h"

#include <set>

#include "app/ConfigurationInput.h"
#include "app/cli/Console.h"
#include "config/BXSyncConfigManager.h"
#include "platform/FileSystem.h"

namespace tidemark::cli {

namespace {

tl::expected<std::shared_ptr<BXSyncConf>, ExitStatus> missing(Console& console, const std::string& complaint)
{
    console.error(complaint);
    return tl::unexpected(ExitStatus::configuration);
}

} // namespace

tl::expected<std::shared_ptr<BXSyncConf>, ExitStatus> namedConfiguration(const std::string& name,
                                                                         BXSyncConfigManager& store, Console& console)
{
    const auto checked = checkedName(name);
    if (!checked || !fs::exists(store.configFilePath(*checked)))
        return missing(console, "there is no configuration '" + name + "'");
    auto conf = store.readConf(*checked);
    if (!conf)
        return missing(console, "the configuration '" + name + "' cannot be read: " + conf.error().description());
    return *conf;
}

tl::expected<std::vector<std::shared_ptr<BXSyncConf>>, ExitStatus>
chosenConfigurations(const std::vector<std::string>& names, BXSyncConfigManager& store, Console& console)
{
    std::vector<std::shared_ptr<BXSyncConf>> chosen;
    std::set<std::string> seen;
    bool isMissing = false;
    for (const auto& name : names.empty() ? store.enableConfigNames() : names) {
        if (!seen.insert(name).second) continue;
        if (auto conf = namedConfiguration(name, store, console))
            chosen.push_back(std::move(*conf));
        else
            isMissing = true;
    }
    if (isMissing) return tl::unexpected(ExitStatus::configuration);
    return chosen;
}

} // namespace tidemark::cli
