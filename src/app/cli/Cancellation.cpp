#include "app/cli/Cancellation.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <limits>
#include <poll.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace tidemark::cli {

Cancellation::Cancellation()
{
    int ends[2];
    if (::pipe(ends) != 0) throw std::system_error(errno, std::generic_category(), "pipe");
    readEnd_ = ends[0];
    writeEnd_ = ends[1];
    ::fcntl(readEnd_, F_SETFD, FD_CLOEXEC);
    ::fcntl(writeEnd_, F_SETFD, FD_CLOEXEC);
}

Cancellation::~Cancellation()
{
    ::close(readEnd_);
    ::close(writeEnd_);
}

void Cancellation::request()
{
    std::lock_guard lock(mutex_);
    if (std::exchange(requested_, true)) return;
    // Nobody reads the byte: the pipe stays readable for every wait to come.
    [[maybe_unused]] const auto written = ::write(writeEnd_, "c", 1);
    if (handler_) handler_();
}

bool Cancellation::isRequested() const
{
    std::lock_guard lock(mutex_);
    return requested_;
}

bool Cancellation::waitFor(std::chrono::milliseconds limit) const
{
    const auto end = std::chrono::steady_clock::now() + limit;
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        pollfd waited{readEnd_, POLLIN, 0};
        const auto step = std::clamp<std::int64_t>(left.count(), 0, std::numeric_limits<int>::max());
        const int ready = ::poll(&waited, 1, static_cast<int>(step));
        if (ready > 0) return true;
        if (ready == 0 && left.count() <= step) return false;
        if (ready < 0 && errno != EINTR) return isRequested();
    }
}

bool Cancellation::hangUp()
{
    {
        std::lock_guard lock(mutex_);
        if (hangUpHandler_) {
            hangUpHandler_();
            return false;
        }
    }
    request();
    return true;
}

Cancellation::HangUpHandler::HangUpHandler(Cancellation& owner, std::function<void()> handler) : owner_(owner)
{
    std::lock_guard lock(owner_.mutex_);
    owner_.hangUpHandler_ = std::move(handler);
}

Cancellation::HangUpHandler::~HangUpHandler()
{
    std::lock_guard lock(owner_.mutex_);
    owner_.hangUpHandler_ = nullptr;
}

Cancellation::Handler::Handler(Cancellation& owner, std::function<void()> handler) : owner_(owner)
{
    std::lock_guard lock(owner_.mutex_);
    outer_ = std::exchange(owner_.handler_, std::move(handler));
    if (owner_.requested_ && owner_.handler_) owner_.handler_();
}

Cancellation::Handler::~Handler()
{
    std::lock_guard lock(owner_.mutex_);
    owner_.handler_ = std::move(outer_);
}

} // namespace tidemark::cli
