#include "platform/MainThread.h"

#include <future>
#include <memory>
#include <mutex>
#include <thread>

#include "platform/RunLoop.h"

namespace tidemark::MainThread {

namespace {

using Post = std::function<void(std::function<void()>)>;

struct Adopted
{
    std::mutex mutex; // guards all below
    std::thread::id thread;
    Post post;
};

Adopted& adopted()
{
    static Adopted state;
    return state;
}

void runAndWait(const Post& post, const std::function<void()>& work)
{
    auto task = std::make_shared<std::packaged_task<void()>>(work);
    auto finished = task->get_future();
    post([task = std::move(task)] { (*task)(); });
    try {
        finished.get();
    } catch (const std::future_error& error) {
        // The main thread ended before it came to the work; nobody is left to do it.
        if (error.code() != std::future_errc::broken_promise) throw;
    }
}

} // namespace

void adopt()
{
    adopt([loop = RunLoop::current()](std::function<void()> work) { loop->post(std::move(work)); });
}

void adopt(std::function<void(std::function<void()>)> post)
{
    auto& state = adopted();
    std::lock_guard lock(state.mutex);
    state.thread = std::this_thread::get_id();
    state.post = std::move(post);
}

bool isCurrent()
{
    auto& state = adopted();
    std::lock_guard lock(state.mutex);
    return !state.post || state.thread == std::this_thread::get_id();
}

void execute(const std::function<void()>& work)
{
    if (isCurrent()) return work();
    Post post;
    {
        auto& state = adopted();
        std::lock_guard lock(state.mutex);
        post = state.post;
    }
    runAndWait(post, work);
}

} // namespace tidemark::MainThread
