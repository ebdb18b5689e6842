#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "platform/Clock.h"
#include "platform/RunLoop.h"

namespace tidemark::testing {

/// A clock that stands still until it is moved. Any thread.
class ManualClock : public Clock
{
public:
    SteadyTime steadyNow() const override
    {
        std::lock_guard lock(mutex_);
        return steady_;
    }
    WallTime wallNow() const override
    {
        std::lock_guard lock(mutex_);
        return wall_;
    }
    bool isRealTime() const override { return false; }

    /// Makes this the loop's clock; every move wakes the loop. The clock outlives the loop's use of it.
    void attach(const std::shared_ptr<RunLoop>& loop)
    {
        loop->setClock(*this);
        std::lock_guard lock(mutex_);
        loops_.push_back(loop);
    }

    void advance(std::chrono::nanoseconds by)
    {
        std::vector<std::shared_ptr<RunLoop>> loops;
        {
            std::lock_guard lock(mutex_);
            steady_ += by;
            wall_ += std::chrono::duration_cast<WallTime::duration>(by);
            loops = loops_;
        }
        for (const auto& loop : loops)
            loop->wake();
    }

    void setWall(WallTime now)
    {
        std::lock_guard lock(mutex_);
        wall_ = now;
    }

private:
    mutable std::mutex mutex_; // guards all below
    SteadyTime steady_{std::chrono::hours(1000)};
    WallTime wall_{std::chrono::seconds(1'700'000'000)};
    std::vector<std::shared_ptr<RunLoop>> loops_;
};

} // namespace tidemark::testing
