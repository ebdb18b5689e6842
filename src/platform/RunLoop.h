#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>

#include "platform/Clock.h"

namespace tidemark {

/// A thread's wait for events: work posted from any thread, timers, and the HTTP transfers opened on the thread
/// (HttpStream) share one wait. A thread has at most one loop, made when it first asks for it; the loop's operations
/// other than post(), stop() and wake() belong to that thread.
///
/// Others keep a loop alive by a shared_ptr; work posted after its thread has ended is dropped.
class RunLoop : public std::enable_shared_from_this<RunLoop>
{
public:
    using Work = std::function<void()>;
    using Duration = std::chrono::nanoseconds;
    using TimerId = std::uint64_t;

    /// The calling thread's loop.
    static std::shared_ptr<RunLoop> current();

    ~RunLoop();
    RunLoop(const RunLoop&) = delete;
    RunLoop& operator=(const RunLoop&) = delete;

    /// Serves events until stop(). A stop() that came before run() ends the next run at once.
    void run();
    /// Serves events until stop() or until `limit` has passed (by real time); true when stopped.
    bool runFor(Duration limit);
    /// Serves events until `done` answers true; it is asked before the first wait and after every batch of events.
    void runUntil(const std::function<bool()>& done);
    /// Ends the innermost run() or runFor(). Any thread.
    void stop();

    /// Runs `work` on the loop's thread, in order of posting, at its next turn. Any thread.
    void post(Work work);
    /// Ends a wait so that conditions are looked at again. Any thread.
    void wake();

    /// Calls `work` on this thread once or every `interval`, by the loop's clock.
    TimerId addTimer(Duration interval, bool repeats, Work work);
    /// A timer that is gone already is no error. Safe inside the timer's own work.
    void removeTimer(TimerId timer);

    /// The clock of this loop's timers; the system's until set. A clock moved by hand must call wake() after a move.
    void setClock(const Clock& clock);
    const Clock& clock() const;

    /// What the HTTP layer keeps per thread; defined in platform/RunLoopTransfers.h.
    class Transfers;
    Transfers& transfers();

private:
    RunLoop();
    struct State;
    std::unique_ptr<State> state_;
};

/// True on the thread that owns `loop`.
bool isCurrent(const RunLoop& loop);

} // namespace tidemark
