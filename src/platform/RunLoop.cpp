#include "platform/RunLoop.h"

#include <algorithm>
#include <atomic>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include "platform/RunLoopTransfers.h"

namespace tidemark {

namespace {

std::optional<RunLoop::Duration> sooner(std::optional<RunLoop::Duration> a, std::optional<RunLoop::Duration> b)
{
    if (!a || !b) return a ? a : b;
    return std::min(*a, *b);
}

} // namespace

struct RunLoop::State
{
    struct Timer
    {
        Clock::SteadyTime due;
        Duration interval;
        bool repeats;
        Work work;
    };

    void turn(std::optional<Duration> limit);
    bool runPosted();
    bool fireTimers();
    bool fire(TimerId id, Clock::SteadyTime now);
    std::optional<Duration> untilNextTimer() const;
    void post(Work work);
    void wake();
    void endWithThread();

    const std::thread::id thread = std::this_thread::get_id();
    std::map<TimerId, Timer> timers;
    TimerId lastTimer = 0;
    const Clock* clock = &Clock::system();
    std::atomic<bool> stopRequested = false;

    std::mutex mutex; // guards posted, and transfers as a pointer and for wake()
    std::deque<Work> posted;
    std::unique_ptr<Transfers> transfers = std::make_unique<Transfers>();
};

void RunLoop::State::turn(std::optional<Duration> limit)
{
    bool served = runPosted();
    served |= fireTimers();
    served |= transfers->perform();
    if (!served) transfers->wait(sooner(limit, untilNextTimer()));
}

bool RunLoop::State::runPosted()
{
    std::unique_lock lock(mutex);
    const std::size_t batch = posted.size();
    // One at a time: work may run the loop again, which then takes its share.
    for (std::size_t i = 0; i < batch && !posted.empty(); ++i) {
        Work work = std::move(posted.front());
        posted.pop_front();
        lock.unlock();
        work();
        work = nullptr;
        lock.lock();
    }
    return batch > 0;
}

bool RunLoop::State::fireTimers()
{
    if (timers.empty()) return false;
    const auto now = clock->steadyNow();
    std::vector<TimerId> due;
    for (const auto& [id, timer] : timers)
        if (timer.due <= now) due.push_back(id);
    bool any = false;
    for (const TimerId id : due)
        any |= fire(id, now);
    return any;
}

bool RunLoop::State::fire(TimerId id, Clock::SteadyTime now)
{
    const auto found = timers.find(id);
    if (found == timers.end()) return false;
    const Work work = found->second.work;
    if (found->second.repeats) {
        Timer& timer = found->second;
        const auto missed = (now - timer.due) / std::max(timer.interval, Duration(1));
        timer.due += std::max(timer.interval, Duration(1)) * (missed + 1);
    } else {
        timers.erase(found);
    }
    work();
    return true;
}

std::optional<RunLoop::Duration> RunLoop::State::untilNextTimer() const
{
    if (timers.empty() || !clock->isRealTime()) return std::nullopt;
    const auto first = std::min_element(timers.begin(), timers.end(),
                                        [](const auto& a, const auto& b) { return a.second.due < b.second.due; });
    return std::max(Duration::zero(), Duration(first->second.due - clock->steadyNow()));
}

void RunLoop::State::post(Work work)
{
    std::unique_lock lock(mutex);
    if (!transfers) {
        lock.unlock(); // what the work holds must not be released under the lock
        return;
    }
    posted.push_back(std::move(work));
    transfers->wake();
}

void RunLoop::State::wake()
{
    std::lock_guard lock(mutex);
    if (transfers) transfers->wake();
}

void RunLoop::State::endWithThread()
{
    std::unique_ptr<Transfers> ending;
    std::deque<Work> dropped;
    {
        std::lock_guard lock(mutex);
        ending.swap(transfers);
        dropped.swap(posted);
    }
    timers.clear();
}

std::shared_ptr<RunLoop> RunLoop::current()
{
    struct Holder
    {
        std::shared_ptr<RunLoop> loop{new RunLoop};
        ~Holder() { loop->state_->endWithThread(); }
    };
    thread_local const Holder holder;
    return holder.loop;
}

RunLoop::RunLoop() : state_(std::make_unique<State>()) {}
RunLoop::~RunLoop() = default;

void RunLoop::run()
{
    while (!state_->stopRequested.exchange(false))
        state_->turn(std::nullopt);
}

bool RunLoop::runFor(Duration limit)
{
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!state_->stopRequested.exchange(false)) {
        const Duration left = end - std::chrono::steady_clock::now();
        if (left <= Duration::zero()) return false;
        state_->turn(left);
    }
    return true;
}

void RunLoop::runUntil(const std::function<bool()>& done)
{
    while (!done())
        state_->turn(std::nullopt);
}

void RunLoop::stop()
{
    state_->stopRequested = true;
    state_->wake();
}

void RunLoop::post(Work work)
{
    state_->post(std::move(work));
}

void RunLoop::wake()
{
    state_->wake();
}

RunLoop::TimerId RunLoop::addTimer(Duration interval, bool repeats, Work work)
{
    const TimerId id = ++state_->lastTimer;
    state_->timers.emplace(id, State::Timer{state_->clock->steadyNow() + interval, interval, repeats, std::move(work)});
    return id;
}

void RunLoop::removeTimer(TimerId timer)
{
    state_->timers.erase(timer);
}

void RunLoop::setClock(const Clock& clock)
{
    state_->clock = &clock;
}

const Clock& RunLoop::clock() const
{
    return *state_->clock;
}

RunLoop::Transfers& RunLoop::transfers()
{
    return *state_->transfers;
}

bool isCurrent(const RunLoop& loop)
{
    return RunLoop::current().get() == &loop;
}

} // namespace tidemark
