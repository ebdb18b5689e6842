#pragma once

#include <functional>

namespace tidemark::MainThread {

/// Makes the calling thread the main thread. A program without a window system serves it by its RunLoop.
void adopt();

/// For a window system that has an event loop of its own: `post` queues work on the main thread from any thread.
void adopt(std::function<void(std::function<void()>)> post);

/// Without an adopted main thread every thread counts as main.
bool isCurrent();

/// Runs `work` on the main thread and returns after it has finished; at once on the main thread itself.
void execute(const std::function<void()>& work);

} // namespace tidemark::MainThread
