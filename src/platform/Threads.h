#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>

namespace tidemark {

/// A named thread that can be asked whether it has finished. Joined when destroyed.
class NamedThread
{
public:
    /// The name is shown by debuggers (cut to 15 bytes there) and by currentThreadName().
    /// `ended` is called on the thread once isFinished() answers true, to wake whoever waits by other means.
    NamedThread(std::string name, std::function<void()> work, std::function<void()> ended = {});
    ~NamedThread();
    NamedThread(const NamedThread&) = delete;
    NamedThread& operator=(const NamedThread&) = delete;

    bool isFinished() const;
    /// Returns once the work is done or `limit` has passed; true when done. Wakes at once.
    bool waitFor(std::chrono::nanoseconds limit) const;
    void join();

private:
    struct State;
    std::shared_ptr<State> state_;
    std::thread thread_;
};

std::string currentThreadName();

} // namespace tidemark
