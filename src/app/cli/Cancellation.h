#pragma once

#include <chrono>
#include <functional>
#include <mutex>

namespace tidemark::cli {

/// The wish to end what is under way. Once requested it stays; all operations may be called from any thread.
class Cancellation
{
public:
    Cancellation();
    ~Cancellation();
    Cancellation(const Cancellation&) = delete;
    Cancellation& operator=(const Cancellation&) = delete;

    /// Calls the handler in force, on this thread. Later requests do nothing.
    void request();
    bool isRequested() const;

    /// Returns at once after a request, otherwise after `limit`. True when requested.
    bool waitFor(std::chrono::milliseconds limit) const;
    /// Readable from the request on, for poll(). Owned by this object.
    int descriptor() const { return readEnd_; }

    /// What a request does while this object lives; called at once where the request has come before. The handler must
    /// not call back into the Cancellation. Handlers nest: the latest one counts.
    class Handler
    {
    public:
        Handler(Cancellation& owner, std::function<void()> handler);
        ~Handler();
        Handler(const Handler&) = delete;
        Handler& operator=(const Handler&) = delete;

    private:
        Cancellation& owner_;
        std::function<void()> outer_;
    };

    /// Calls the hang-up handler in force; without one it is a request(), and true.
    bool hangUp();

    /// What a hang-up does while this object lives.
    class HangUpHandler
    {
    public:
        HangUpHandler(Cancellation& owner, std::function<void()> handler);
        ~HangUpHandler();
        HangUpHandler(const HangUpHandler&) = delete;
        HangUpHandler& operator=(const HangUpHandler&) = delete;

    private:
        Cancellation& owner_;
    };

private:
    int readEnd_ = -1;
    int writeEnd_ = -1;
    mutable std::mutex mutex_; // guards the three below
    bool requested_ = false;
    std::function<void()> handler_;
    std::function<void()> hangUpHandler_;
};

} // namespace tidemark::cli
