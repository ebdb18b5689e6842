#include "platform/DirectoryWatchState_linux.h"

#include <algorithm>
#include <cerrno>
#include <system_error>

#include <dirent.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tidemark {

namespace {

// Setting only the modification time of a file is reported as a write to it.
constexpr std::uint32_t watchedEvents = IN_CREATE | IN_MODIFY | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO |
                                        IN_CLOSE_WRITE | IN_ATTRIB | IN_DELETE_SELF | IN_MOVE_SELF;
bool isFolderEntry(const std::string& folder, const dirent& entry)
{
    if (entry.d_type != DT_UNKNOWN) return entry.d_type == DT_DIR;
    struct stat info = {};
    return ::lstat(joinedPath(folder, entry.d_name).c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

struct FolderEntry
{
    std::string name;
    bool isFolder = false;
};

/// Nothing for a folder that cannot be read.
std::vector<FolderEntry> entriesOf(const std::string& folder)
{
    std::vector<FolderEntry> entries;
    const std::unique_ptr<DIR, int (*)(DIR*)> stream(::opendir(folder.c_str()), ::closedir);
    if (!stream) return entries;
    while (const auto* entry = ::readdir(stream.get())) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") entries.push_back({std::string(name), isFolderEntry(folder, *entry)});
    }
    return entries;
}

} // namespace

void SystemDescriptor::reset(int value)
{
    if (value_ >= 0) ::close(value_);
    value_ = value;
}

std::string joinedPath(const std::string& folder, std::string_view name)
{
    auto path = folder;
    if (!path.ends_with('/')) path += '/';
    return path += name;
}

std::string systemErrorText(int error)
{
    return std::generic_category().message(error);
}

/// Watches a folder and all below it, each before its entries are read, so that nothing made meanwhile is missed.
/// False when the limit is reached.
bool DirectoryWatchService::State::walk(Node& from)
{
    std::vector<Node*> pending{&from};
    while (!pending.empty()) {
        auto& node = *pending.back();
        pending.pop_back();
        switch (watch(node)) {
        case Outcome::watched:
            noteEntries(node, pending);
            break;
        case Outcome::gone:
            break;
        case Outcome::limitReached:
            return false;
        }
        if (node.parent == nullptr && node.root.failed) break;
    }
    return true;
}

DirectoryWatchService::State::Outcome DirectoryWatchService::State::watch(Node& node)
{
    const bool isTop = node.parent == nullptr;
    const auto path = node.path();
    const int watch = addWatch(path, isTop);
    if (watch >= 0) {
        node.watch = watch;
        nodes[watch].push_back(&node);
        return Outcome::watched;
    }
    if (errno == ENOSPC) return Outcome::limitReached;
    if (isTop) fail(node.root, Kind::rootGone, "The folder cannot be watched: " + path + ": " + systemErrorText(errno));
    return Outcome::gone;
}

int DirectoryWatchService::State::addWatch(const std::string& path, bool isTop)
{
    const std::uint32_t follow = isTop ? 0U : static_cast<std::uint32_t>(IN_DONT_FOLLOW);
    const int watch = ::inotify_add_watch(queue.get(), path.c_str(), watchedEvents | IN_ONLYDIR | follow);
    if (watch < 0 || nodes.contains(watch) || nodes.size() < maxWatches) return watch;
    ::inotify_rm_watch(queue.get(), watch);
    errno = ENOSPC;
    return -1;
}

void DirectoryWatchService::State::noteEntries(Node& node, std::vector<Node*>& pending)
{
    for (auto& entry : entriesOf(node.path())) {
        if (node.root.isIgnored(entry.name)) continue;
        if (node.parent == nullptr) node.root.topNames.insert(entry.name);
        if (!entry.isFolder) continue;
        auto& child = node.children[entry.name];
        child = std::make_unique<Node>(Node{node.root, &node, entry.name, -1, {}});
        pending.push_back(child.get());
    }
}

/// The tree below `node` too; the nodes stay.
void DirectoryWatchService::State::unwatch(Node& node)
{
    std::vector<Node*> pending{&node};
    while (!pending.empty()) {
        auto& next = *pending.back();
        pending.pop_back();
        for (auto& [name, child] : next.children)
            pending.push_back(child.get());
        const auto found = nodes.find(next.watch);
        if (found == nodes.end()) continue;
        std::erase(found->second, &next);
        next.watch = -1;
        if (!found->second.empty()) continue;
        ::inotify_rm_watch(queue.get(), found->first);
        nodes.erase(found);
    }
}

/// The system has dropped a watch.
void DirectoryWatchService::State::forget(int watch)
{
    const auto found = nodes.find(watch);
    if (found == nodes.end()) return;
    for (auto* node : found->second)
        node->watch = -1;
    nodes.erase(found);
}

/// The root's folders and those of the other trees.
std::uint64_t DirectoryWatchService::State::neededWatches(const Root& root) const
{
    std::uint64_t count = 0;
    for (const auto& [watch, holders] : nodes)
        if (std::any_of(holders.begin(), holders.end(), [&](const Node* node) { return &node->root != &root; }))
            ++count;
    std::vector<std::string> pending{root.path};
    while (!pending.empty()) {
        const auto folder = std::move(pending.back());
        pending.pop_back();
        ++count;
        for (const auto& entry : entriesOf(folder))
            if (entry.isFolder && !root.isIgnored(entry.name)) pending.push_back(joinedPath(folder, entry.name));
    }
    return count;
}

} // namespace tidemark
