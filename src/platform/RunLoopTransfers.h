#pragma once

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>

#include "platform/RunLoop.h"

namespace tidemark {

/// libcurl's side of a loop: the easy handles under way on the thread, their connections, and the one wait. All
/// operations belong to the loop's thread except wake().
class RunLoop::Transfers
{
public:
    /// A CURL*.
    using EasyHandle = void*;

    /// Who set up an easy handle; kept until the handle is out of the loop.
    class Owner
    {
    public:
        virtual ~Owner() = default;
        /// The transfer is over and the handle is out of the loop. Never from inside a callback of libcurl.
        virtual void transferDidFinish(int curlCode) = 0;
        /// The thread ends; the handle is out of the loop.
        virtual void transferWasDropped() = 0;
    };

    Transfers();
    ~Transfers();
    Transfers(const Transfers&) = delete;
    Transfers& operator=(const Transfers&) = delete;

    bool add(EasyHandle easy, std::shared_ptr<Owner> owner);
    /// Ends a transfer without transferDidFinish(); calls `removed` when the handle is out of the loop, which is at
    /// once unless libcurl is at work at the moment. A handle that is not in the loop counts as removed.
    void remove(EasyHandle easy, std::function<void()> removed);

    /// Moves transfers on as far as they go without waiting, then reports the ended ones; true when there was any
    /// progress that somebody may be waiting for.
    bool perform();
    /// For owners, in a callback of libcurl: something has changed.
    void noteProgress() { progressed_ = true; }
    /// Waits for activity, wake(), or the limit.
    void wait(std::optional<Duration> limit);
    void wake();

private:
    struct Removal
    {
        EasyHandle easy;
        std::function<void()> removed;
    };
    struct Ended
    {
        EasyHandle easy;
        int curlCode;
    };

    std::shared_ptr<Owner> detach(EasyHandle easy);
    void collectEnded();
    void carryOutRemovals();

    void* multi_; // a CURLM*
    std::map<EasyHandle, std::shared_ptr<Owner>> owners_;
    std::deque<Removal> removals_;
    std::deque<Ended> ended_;
    bool performing_ = false;
    bool progressed_ = false;
};

} // namespace tidemark
