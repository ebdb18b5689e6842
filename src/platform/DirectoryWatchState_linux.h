#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <unordered_map>
#include <vector>

#include "platform/DirectoryWatch.h"

struct inotify_event;

namespace tidemark {

/// A descriptor of the system, closed when destroyed.
class SystemDescriptor
{
public:
    SystemDescriptor() = default;
    ~SystemDescriptor() { reset(-1); }
    SystemDescriptor(const SystemDescriptor&) = delete;
    SystemDescriptor& operator=(const SystemDescriptor&) = delete;
    int get() const { return value_; }
    /// Takes `value` over; -1 for none.
    void reset(int value);

private:
    int value_ = -1;
};

/// One "/" between the two, whatever `folder` ends with.
std::string joinedPath(const std::string& folder, std::string_view name);
std::string systemErrorText(int error);

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

        std::string path() const { return parent ? joinedPath(parent->path(), name) : root.path; }
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
    SystemDescriptor queue;
    SystemDescriptor wakeUp;
    std::thread thread;
    std::set<Root*> roots;
    std::unordered_map<int, std::vector<Node*>> nodes;
};

} // namespace tidemark
