#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace tidemark {

class DirectoryWatch;

/// Why a folder is not watched any more.
struct DirectoryWatchFailure
{
    enum class Kind
    {
        /// The system's limit of watched folders is too low.
        limitReached,
        /// The folder was deleted, moved or unmounted.
        rootGone,
        /// Anything else.
        system,
    };

    Kind kind = Kind::system;
    /// With limitReached: how many watched folders the limit must allow.
    std::uint64_t neededWatches = 0;
    /// An English sentence for people: what happened and what to set.
    std::string text;
};

/// Serves every DirectoryWatch that is made on it with one thread and one queue of the system.
class DirectoryWatchService
{
public:
    /// The process's service; its thread starts with the first watch.
    static DirectoryWatchService& shared();

    /// `maxWatches` stands in for the system's limit where it is lower.
    explicit DirectoryWatchService(std::uint64_t maxWatches = UINT64_MAX);
    ~DirectoryWatchService();
    DirectoryWatchService(const DirectoryWatchService&) = delete;
    DirectoryWatchService& operator=(const DirectoryWatchService&) = delete;

    /// Returns once every change made before the call has been reported. Not from inside a report.
    void drain();

    /// Folders watched at the moment.
    std::uint64_t watchCount() const;

private:
    friend class DirectoryWatch;
    struct State;
    std::shared_ptr<State> state_;
};

/// Reports changes anywhere below a folder. A file counts as changed when it is written or closed by a writer, when its
/// time is set, and when it appears or goes; a folder when it appears or goes. Links to folders are not followed.
class DirectoryWatch
{
public:
    /// Called on the service's thread, or on a thread that drains or switches; never two at once. A call must not use
    /// the service or a watch of it.
    class Client
    {
    public:
        virtual ~Client() = default;
        /// Something happened to `path` (absolute, below the root, as the disk spells it). The report of a folder
        /// stands for everything below it: it comes after the folder's contents are watched.
        virtual void watchedPathDidChange(const std::string& path) = 0;
        /// The last report; once.
        virtual void watchDidFail(const DirectoryWatchFailure& failure) = 0;
    };

    /// Answers for one name whether the entry, and all below it, is neither watched nor reported.
    using IgnoresName = std::function<bool(std::string_view name)>;

    /// When the constructor returns, the whole tree is watched or the client has been told why not.
    DirectoryWatch(DirectoryWatchService& service, std::string root, Client& client, IgnoresName ignores = {});
    /// No report comes after the destructor has begun to return.
    ~DirectoryWatch();
    DirectoryWatch(const DirectoryWatch&) = delete;
    DirectoryWatch& operator=(const DirectoryWatch&) = delete;

    /// While off, changes are not reported, ever; the tree stays watched. Changes made before a switch are settled by
    /// the state before it.
    void setReporting(bool on);

private:
    struct Root;
    friend class DirectoryWatchService;
    friend struct DirectoryWatchService::State;
    std::shared_ptr<DirectoryWatchService::State> service_;
    std::unique_ptr<Root> root_;
};

} // namespace tidemark
