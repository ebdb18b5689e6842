#pragma once

#include <chrono>

namespace tidemark {

/// Where an object that measures or schedules takes its time from, so that a test can set it by hand.
/// Both operations may be called from any thread.
class Clock
{
public:
    using SteadyTime = std::chrono::steady_clock::time_point;
    using WallTime = std::chrono::system_clock::time_point;

    virtual ~Clock() = default;
    virtual SteadyTime steadyNow() const { return std::chrono::steady_clock::now(); }
    virtual WallTime wallNow() const { return std::chrono::system_clock::now(); }
    /// False for a clock that is moved by hand: whoever waits for it must be woken, not time out.
    virtual bool isRealTime() const { return true; }

    /// The system's clock.
    static const Clock& system();
};

} // namespace tidemark
