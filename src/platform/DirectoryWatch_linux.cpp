#include "platform/DirectoryWatch.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <map>
#include <mutex>
#include <set>
#include <thread>
#include <unordered_map>
#include <vector>

#include <dirent.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tidemark {

namespace {

// Setting only the modification time of a file is reported as a write to it.
constexpr std::uint32_t watchedEvents = IN_CREATE | IN_MODIFY | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO |
                                        IN_CLOSE_WRITE | IN_ATTRIB | IN_DELETE_SELF | IN_MOVE_SELF;
constexpr std::uint32_t appearing = IN_CREATE | IN_MOVED_TO;
constexpr std::uint32_t going = IN_DELETE | IN_MOVED_FROM;
constexpr std::uint32_t endOfRoot = IN_DELETE_SELF | IN_MOVE_SELF | IN_UNMOUNT;
constexpr std::size_t readBuffer = std::size_t{64} * 1024;

class Descriptor
{
public:
    Descriptor() = default;
    ~Descriptor() { reset(-1); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int get() const { return value_; }
    void reset(int value)
    {
        if (value_ >= 0) ::close(value_);
        value_ = value;
    }

private:
    int value_ = -1;
};

std::string joined(const std::string& folder, std::string_view name)
{
    auto path = folder;
    if (!path.ends_with('/')) path += '/';
    return path += name;
}

bool isFolderEntry(const std::string& folder, const dirent& entry)
{
    if (entry.d_type != DT_UNKNOWN) return entry.d_type == DT_DIR;
    struct stat info = {};
    return ::lstat(joined(folder, entry.d_name).c_str(), &info) == 0 && S_ISDIR(info.st_mode);
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

std::string systemText(int error)
{
    return std::generic_category().message(error);
}

} // namespace

struct DirectoryWatch::Root
{
    struct Node
    {
        Root& root;
        Node* parent;
        std::string name;
        /// -1 where the folder cannot be watched.
        int watch = -1;
        std::map<std::string, std::unique_ptr<Node>, std::less<>> children;

        std::string path() const { return parent ? joined(parent->path(), name) : root.path; }
    };

    bool isIgnored(std::string_view name) const { return ignores && ignores(name); }
    void report(const std::string& changed)
    {
        if (reporting && !failed) client.watchedPathDidChange(changed);
    }

    std::string path;
    Client& client;
    IgnoresName ignores;
    bool reporting = true;
    bool failed = false;
    std::unique_ptr<Node> top;
    /// Of the entries directly below the root, so that those are known that an overflow has hidden the end of.
    std::set<std::string> topNames;
};

/// One queue of the system for all trees. A folder has one watch even where several trees hold it, so a watch leads to
/// a node of each. Everything is guarded by the mutex; reports are made while it is held.
struct DirectoryWatchService::State
{
    using Root = DirectoryWatch::Root;
    using Node = Root::Node;
    using Kind = DirectoryWatchFailure::Kind;
    enum class Outcome
    {
        watched,
        gone,
        limitReached
    };

    explicit State(std::uint64_t limit) : maxWatches(limit) {}

    void add(Root& root);
    void remove(Root& root);
    void readPending();
    void serve();
    void stop();

    bool start(Root& root);
    bool walk(Node& from);
    Outcome watch(Node& node);
    int addWatch(const std::string& path, bool isTop);
    void unwatch(Node& node);
    void noteEntries(Node& node, std::vector<Node*>& pending);
    void handle(const inotify_event& event, std::string_view name);
    bool holds(int watch, const Node* node) const;
    void handleNode(Node& node, std::uint32_t mask, std::string_view name);
    void folderAppears(Node& parent, std::string_view name);
    void folderGoes(Node& parent, std::string_view name);
    void handleOverflow();
    void resynchronise(Root& root);
    void forget(int watch);
    void fail(Root& root, Kind kind, std::string text, std::uint64_t needed = 0);
    void failLimit(Root& root);
    std::uint64_t neededWatches(const Root& root) const;

    mutable std::mutex mutex;
    const std::uint64_t maxWatches;
    Descriptor queue;
    Descriptor wakeUp;
    std::thread thread;
    std::set<Root*> roots;
    std::unordered_map<int, std::vector<Node*>> nodes;
};

void DirectoryWatchService::State::add(Root& root)
{
    const std::lock_guard lock(mutex);
    roots.insert(&root);
    if (start(root) && !walk(*root.top)) failLimit(root);
}

bool DirectoryWatchService::State::start(Root& root)
{
    root.top = std::make_unique<Node>(Node{root, nullptr, {}, -1, {}});
    if (queue.get() >= 0) return true;
    queue.reset(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    wakeUp.reset(::eventfd(0, EFD_CLOEXEC));
    if (queue.get() < 0 || wakeUp.get() < 0) {
        const auto reason = systemText(errno);
        queue.reset(-1);
        fail(root, Kind::system, "Folders cannot be watched: " + reason + ". See fs.inotify.max_user_instances.");
        return false;
    }
    thread = std::thread([this] { serve(); });
    return true;
}

void DirectoryWatchService::State::remove(Root& root)
{
    const std::lock_guard lock(mutex);
    if (root.top) unwatch(*root.top);
    root.top.reset();
    roots.erase(&root);
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
    if (isTop) fail(node.root, Kind::rootGone, "The folder cannot be watched: " + path + ": " + systemText(errno));
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

void DirectoryWatchService::State::serve()
{
    while (true) {
        std::array<pollfd, 2> waits{pollfd{queue.get(), POLLIN, 0}, pollfd{wakeUp.get(), POLLIN, 0}};
        if (::poll(waits.data(), waits.size(), -1) < 0) continue;
        if (waits[1].revents != 0) return;
        const std::lock_guard lock(mutex);
        readPending();
    }
}

void DirectoryWatchService::State::stop()
{
    if (!thread.joinable()) return;
    ::eventfd_write(wakeUp.get(), 1);
    thread.join();
}

/// Handles what is in the queue at the moment of the call, so that a busy disk cannot hold the caller for ever.
void DirectoryWatchService::State::readPending()
{
    int available = 0;
    if (queue.get() < 0 || ::ioctl(queue.get(), FIONREAD, &available) != 0) return;
    alignas(inotify_event) std::array<char, readBuffer> buffer{};
    while (available > 0) {
        const auto got = ::read(queue.get(), buffer.data(), buffer.size());
        if (got <= 0) return;
        available -= static_cast<int>(got);
        for (std::size_t at = 0; at < static_cast<std::size_t>(got);) {
            inotify_event event{};
            std::memcpy(&event, buffer.data() + at, sizeof event);
            handle(event, event.len > 0 ? std::string_view(buffer.data() + at + sizeof event) : std::string_view{});
            at += sizeof event + event.len;
        }
    }
}

void DirectoryWatchService::State::handle(const inotify_event& event, std::string_view name)
{
    if ((event.mask & IN_Q_OVERFLOW) != 0) return handleOverflow();
    const auto found = nodes.find(event.wd);
    if (found == nodes.end()) return;
    for (auto* node : std::vector<Node*>(found->second))
        if (holds(event.wd, node)) handleNode(*node, event.mask, name);
    if ((event.mask & IN_IGNORED) != 0) forget(event.wd);
}

/// Handling an event may take nodes away.
bool DirectoryWatchService::State::holds(int watch, const Node* node) const
{
    const auto found = nodes.find(watch);
    return found != nodes.end() && std::find(found->second.begin(), found->second.end(), node) != found->second.end();
}

void DirectoryWatchService::State::handleNode(Node& node, std::uint32_t mask, std::string_view name)
{
    auto& root = node.root;
    if (name.empty()) {
        if ((mask & endOfRoot) != 0 && node.parent == nullptr)
            fail(root, Kind::rootGone, "The watched folder is gone: " + root.path);
        return;
    }
    if (root.isIgnored(name)) return;
    const bool isFolder = (mask & IN_ISDIR) != 0;
    // What a folder's own time or mode does is of no interest, and its report would stand for all below it.
    if (isFolder && (mask & (appearing | going)) == 0) return;
    if (node.parent == nullptr && (mask & appearing) != 0) root.topNames.emplace(name);
    if (node.parent == nullptr && (mask & going) != 0) root.topNames.erase(std::string(name));
    const auto path = joined(node.path(), name);
    if (isFolder && (mask & appearing) != 0)
        folderAppears(node, name);
    else if (isFolder)
        folderGoes(node, name);
    root.report(path);
}

void DirectoryWatchService::State::folderAppears(Node& parent, std::string_view name)
{
    const auto known = parent.children.find(name);
    if (known != parent.children.end()) {
        // Seen while its parent was read; the same folder still, when its watch is the same.
        if (known->second->watch >= 0 && addWatch(known->second->path(), false) == known->second->watch) return;
        folderGoes(parent, name);
    }
    auto& child = parent.children[std::string(name)];
    child = std::make_unique<Node>(Node{parent.root, &parent, std::string(name), -1, {}});
    if (!walk(*child)) failLimit(parent.root);
}

void DirectoryWatchService::State::folderGoes(Node& parent, std::string_view name)
{
    const auto child = parent.children.find(name);
    if (child == parent.children.end()) return;
    unwatch(*child->second);
    parent.children.erase(child);
}

/// Events were lost: folders may have come and gone, and anything may have changed.
void DirectoryWatchService::State::handleOverflow()
{
    for (auto* root : roots)
        if (!root->failed) resynchronise(*root);
}

void DirectoryWatchService::State::resynchronise(Root& root)
{
    auto names = std::move(root.topNames);
    root.topNames.clear();
    unwatch(*root.top);
    root.top->children.clear();
    if (!walk(*root.top)) failLimit(root);
    names.insert(root.topNames.begin(), root.topNames.end());
    for (const auto& name : names)
        root.report(joined(root.path, name));
}

void DirectoryWatchService::State::failLimit(Root& root)
{
    const auto needed = neededWatches(root);
    fail(root, Kind::limitReached,
         "The system's limit of watched folders is too low: " + std::to_string(needed) +
             " are needed. Raise fs.inotify.max_user_watches above that.",
         needed);
}

void DirectoryWatchService::State::fail(Root& root, Kind kind, std::string text, std::uint64_t needed)
{
    if (root.failed) return;
    root.failed = true;
    unwatch(*root.top);
    root.client.watchDidFail({kind, needed, std::move(text)});
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
            if (entry.isFolder && !root.isIgnored(entry.name)) pending.push_back(joined(folder, entry.name));
    }
    return count;
}

DirectoryWatchService& DirectoryWatchService::shared()
{
    static DirectoryWatchService service;
    return service;
}

DirectoryWatchService::DirectoryWatchService(std::uint64_t maxWatches) : state_(std::make_shared<State>(maxWatches)) {}

DirectoryWatchService::~DirectoryWatchService()
{
    state_->stop();
}

void DirectoryWatchService::drain()
{
    const std::lock_guard lock(state_->mutex);
    state_->readPending();
}

std::uint64_t DirectoryWatchService::watchCount() const
{
    const std::lock_guard lock(state_->mutex);
    return state_->nodes.size();
}

DirectoryWatch::DirectoryWatch(DirectoryWatchService& service, std::string root, Client& client, IgnoresName ignores)
    : service_(service.state_), root_(new Root{std::move(root), client, std::move(ignores), true, false, nullptr, {}})
{
    service_->add(*root_);
}

DirectoryWatch::~DirectoryWatch()
{
    service_->remove(*root_);
}

void DirectoryWatch::setReporting(bool on)
{
    const std::lock_guard lock(service_->mutex);
    service_->readPending();
    root_->reporting = on;
}

} // namespace tidemark
