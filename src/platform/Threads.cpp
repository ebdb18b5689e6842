#include "platform/Threads.h"

#include <pthread.h>

#include <algorithm>
#include <condition_variable>
#include <mutex>

#include "platform/Unicode.h"

namespace tidemark {

namespace {

thread_local std::string threadName;

void nameCurrentThread(const std::string& name)
{
    constexpr std::size_t systemLimit = 15;
    threadName = name;
    pthread_setname_np(pthread_self(), std::string(utf8Prefix(name, systemLimit)).c_str());
}

} // namespace

struct NamedThread::State
{
    std::mutex mutex;
    std::condition_variable ended;
    bool finished = false; // guarded by mutex

    void finish()
    {
        std::lock_guard lock(mutex);
        finished = true;
        ended.notify_all();
    }
};

NamedThread::NamedThread(std::string name, std::function<void()> work, std::function<void()> ended)
    : state_(std::make_shared<State>()),
      thread_([state = state_, name = std::move(name), work = std::move(work), ended = std::move(ended)]() mutable {
          nameCurrentThread(name);
          work();
          work = nullptr; // what the work holds is gone before the thread counts as finished
          state->finish();
          if (ended) ended();
      })
{
}

NamedThread::~NamedThread()
{
    join();
}

bool NamedThread::isFinished() const
{
    std::lock_guard lock(state_->mutex);
    return state_->finished;
}

bool NamedThread::waitFor(std::chrono::nanoseconds limit) const
{
    // The longest wait that can be added to any clock's present without overflow.
    constexpr std::chrono::nanoseconds longest = std::chrono::hours(24 * 365);
    std::unique_lock lock(state_->mutex);
    return state_->ended.wait_for(lock, std::min(limit, longest), [this] { return state_->finished; });
}

void NamedThread::join()
{
    if (thread_.joinable()) thread_.join();
}

std::string currentThreadName()
{
    if (!threadName.empty()) return threadName;
    char name[16] = {};
    pthread_getname_np(pthread_self(), name, sizeof name);
    return name;
}

} // namespace tidemark
