#include "app/ChangeList.h"

#include <algorithm>
#include <numeric>

namespace tidemark {

void ChangeList::clear()
{
    groups_.clear();
}

void ChangeList::setGroup(const std::string& configuration, std::vector<SyncItem> items)
{
    auto group = std::ranges::find(groups_, configuration, &Group::configuration);
    if (items.empty()) {
        if (group != groups_.end()) groups_.erase(group);
        return;
    }
    if (group == groups_.end()) group = groups_.insert(groups_.end(), Group{configuration, {}, {}});
    group->items = std::move(items);
    filter(*group);
}

void ChangeList::setFilter(Filter newFilter)
{
    filter_ = std::move(newFilter);
    for (auto& group : groups_)
        filter(group);
}

void ChangeList::filter(Group& group) const
{
    group.shown.clear();
    for (std::uint32_t i = 0; i < group.items.size(); ++i)
        if (!filter_ || filter_(group.items[i])) group.shown.push_back(i);
}

std::vector<std::size_t> ChangeList::shownGroups() const
{
    std::vector<std::size_t> shown;
    for (std::size_t i = 0; i < groups_.size(); ++i)
        if (!groups_[i].shown.empty()) shown.push_back(i);
    return shown;
}

std::vector<std::string> ChangeList::shownConfigurations() const
{
    std::vector<std::string> names;
    for (const auto index : shownGroups())
        names.push_back(groups_[index].configuration);
    return names;
}

std::size_t ChangeList::itemCount() const
{
    return std::accumulate(groups_.begin(), groups_.end(), std::size_t{0},
                           [](std::size_t sum, const Group& group) { return sum + group.items.size(); });
}

std::size_t ChangeList::shownCount() const
{
    return std::accumulate(groups_.begin(), groups_.end(), std::size_t{0},
                           [](std::size_t sum, const Group& group) { return sum + group.shown.size(); });
}

bool ChangeList::hidesSomeOfShown() const
{
    return std::ranges::any_of(
        groups_, [](const Group& group) { return !group.shown.empty() && group.shown.size() < group.items.size(); });
}

ChangeList::Counts ChangeList::counts(const Group& group)
{
    Counts counts;
    for (const auto& item : group.items) {
        switch (item.direction) {
        case Direction::up:
            ++counts.up;
            break;
        case Direction::down:
            ++counts.down;
            break;
        case Direction::conflict:
            ++counts.conflict;
            break;
        }
    }
    return counts;
}

} // namespace tidemark
