#pragma once

#include <functional>

#include <QObject>

namespace tidemark::qt {

/// The event loop of the main thread as the engine needs it: work that other threads post, and waits that keep the
/// windows alive. One per process, made on the main thread.
class MainLoop : public QObject
{
public:
    /// Makes the calling thread the engine's main thread.
    MainLoop();

    /// Any thread.
    void post(std::function<void()> work);
    /// Serves events until `done` answers true, which is asked after every event.
    void runUntil(const std::function<bool()>& done);
    /// runUntil() is under way: what it was called by can not go on yet.
    bool isNested() const { return depth_ > 0; }
    /// Makes runUntil() ask again. Any thread.
    void wake();

private:
    int depth_ = 0;
};

} // namespace tidemark::qt
