#pragma once

#include <functional>
#include <memory>

namespace tidemark::cli {

/// Turns SIGINT, SIGTERM and SIGHUP into calls on a thread of its own, where anything is allowed: `first` for the first
/// SIGINT or SIGTERM, `second` for each later one; `hangUp` for a SIGHUP, which counts as the first one where that
/// answers true. The signals act as before once this object is gone. One at a time per process; made before other
/// threads are started.
class Interrupts
{
public:
    Interrupts(std::function<void()> first, std::function<void()> second, std::function<bool()> hangUp);
    ~Interrupts();
    Interrupts(const Interrupts&) = delete;
    Interrupts& operator=(const Interrupts&) = delete;

private:
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace tidemark::cli
