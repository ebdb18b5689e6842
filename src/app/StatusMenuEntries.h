#pragma once

#include <string>
#include <vector>

namespace tidemark {

/// One entry of the status menu as any window system can show it.
struct StatusMenuEntry
{
    enum class Action
    {
        none,
        syncAll,
        syncListAll,
        sync,
        syncList,
        openSetting,
        syncReset,
        downloadAll,
        uploadAll,
        openVersionWindow,
        exit
    };

    /// A key of "TidemarkResource"; "" for a separator, and for an entry that is called after a configuration.
    std::string titleKey;
    /// The configuration it is about, which is its title.
    std::string name = {};
    Action action = Action::none;
    std::vector<StatusMenuEntry> submenu = {};

    bool isSeparator() const { return titleKey.empty() && name.empty(); }
    bool operator==(const StatusMenuEntry&) const = default;
};

/// The whole menu, for the configurations in the order in which they are shown.
std::vector<StatusMenuEntry> statusMenuEntries(const std::vector<std::string>& configurations);

} // namespace tidemark
