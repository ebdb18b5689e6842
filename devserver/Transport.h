#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <span>
#include <string_view>

namespace devserver {

// One accepted connection, plain or TLS. Blocking; used by one thread, but for abort() and isStalled().
// What fails is thrown as ConnectionLost.
class Transport
{
public:
    virtual ~Transport() = default;

    virtual void handshake() = 0;
    // 0 when the peer has ended its side.
    virtual std::size_t readSome(std::span<char> buffer) = 0;
    virtual void write(std::string_view data) = 0;
    // Ends our side in good order and waits a moment for the peer's end, so that it reads what was sent.
    virtual void finish() = 0;

    // Waits until the peer has gone or abort() was called, at most that long. True when it was so.
    bool waitForEnd(std::chrono::milliseconds limit);
    // Waits for the same without limit, but not when `released` says that there is nothing to wait for.
    void stall(const std::function<bool()>& released);
    // Ends every operation under way and to come. From any thread.
    void abort();
    // Whether a stall() is under way. From any thread.
    bool isStalled() const { return stalled_; }

protected:
    explicit Transport(int descriptor) : descriptor_(descriptor) {}
    void retireDescriptor(); // to be called before the descriptor is closed
    int descriptor() const { return descriptor_; }

private:
    std::mutex mutex_;
    bool open_ = true; // guarded by mutex_
    const int descriptor_;
    std::atomic<bool> stalled_ = false;
};

} // namespace devserver
