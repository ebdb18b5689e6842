#include "platform/DirectoryWatch.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "platform/DirectoryWatchState_linux.h"

namespace tidemark {

namespace {

constexpr std::uint32_t appearing = IN_CREATE | IN_MOVED_TO;
constexpr std::uint32_t going = IN_DELETE | IN_MOVED_FROM;
constexpr std::uint32_t endOfRoot = IN_DELETE_SELF | IN_MOVE_SELF | IN_UNMOUNT;
constexpr std::size_t readBuffer = std::size_t{64} * 1024;

} // namespace

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
        const auto reason = systemErrorText(errno);
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
    const auto path = joinedPath(node.path(), name);
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
        root.report(joinedPath(root.path, name));
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
