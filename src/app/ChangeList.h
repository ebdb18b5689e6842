#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "app/SyncItem.h"

namespace tidemark {

/// The listed changes of configurations, and which of them a filter lets through. One thread.
class ChangeList
{
public:
    /// Answers whether an item is shown; null shows all.
    using Filter = std::function<bool(const SyncItem&)>;

    struct Group
    {
        std::string configuration;
        std::vector<SyncItem> items;
        /// Indices of the items that the filter lets through, in order.
        std::vector<std::uint32_t> shown;
    };

    /// How many changes of each direction.
    struct Counts
    {
        std::size_t up = 0;
        std::size_t down = 0;
        std::size_t conflict = 0;
    };

    void clear();
    /// Takes the place of what was listed of the configuration before. A group stays where it is; one without items is
    /// kept out.
    void setGroup(const std::string& configuration, std::vector<SyncItem> items);
    void setFilter(Filter filter);

    const std::vector<Group>& groups() const { return groups_; }
    /// Indices of the groups of which something is shown, in order.
    std::vector<std::size_t> shownGroups() const;
    /// The names of those groups.
    std::vector<std::string> shownConfigurations() const;
    std::size_t itemCount() const;
    std::size_t shownCount() const;
    /// Whether the filter hides items of configurations of which it shows others.
    bool hidesSomeOfShown() const;

    static Counts counts(const Group& group);

private:
    void filter(Group& group) const;

    Filter filter_;
    std::vector<Group> groups_;
};

} // namespace tidemark
