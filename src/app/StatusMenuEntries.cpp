#include "app/StatusMenuEntries.h"

#include "app/BXSyncMaintenanceMenu.h"

namespace tidemark {

namespace {

using Entries = std::vector<StatusMenuEntry>;
using Action = StatusMenuEntry::Action;

Entries perConfiguration(const std::vector<std::string>& names, Action action)
{
    Entries entries;
    for (const auto& name : names)
        entries.push_back({"", name, action});
    return entries;
}

Entries maintenanceEntries()
{
    constexpr Action actions[] = {Action::syncReset, Action::downloadAll, Action::uploadAll};
    Entries entries;
    for (const auto& key : BXSyncMaintenanceMenu::itemKeys())
        entries.push_back({key, "", actions[entries.size()]});
    return entries;
}

} // namespace

std::vector<StatusMenuEntry> statusMenuEntries(const std::vector<std::string>& configurations)
{
    const StatusMenuEntry separator;
    return {{"SYNCHRONIZE", "", Action::syncAll},
            {"SYNCHRONIZE_LIST", "", Action::syncListAll},
            separator,
            {"SYNCHRONIZE_SELECT_CONFIG", "", Action::none, perConfiguration(configurations, Action::sync)},
            {"SYNCHRONIZE_LIST_SELECT_CONFIG", "", Action::none, perConfiguration(configurations, Action::syncList)},
            separator,
            {"SETTING", "", Action::openSetting},
            separator,
            {"MAINTENANCE", "", Action::none, maintenanceEntries()},
            separator,
            {"SHOW_VERSION", "", Action::openVersionWindow},
            separator,
            {"EXIT", "", Action::exit}};
}

} // namespace tidemark
