#include "devserver/Transport.h"

#include <poll.h>
#include <sys/socket.h>

namespace devserver {

bool Transport::waitForEnd(std::chrono::milliseconds limit)
{
    pollfd watched{descriptor_, POLLRDHUP, 0};
    return poll(&watched, 1, static_cast<int>(limit.count())) != 0;
}

// Whoever releases says so first and then aborts what is stalled: one of the two is seen here.
void Transport::stall(const std::function<bool()>& released)
{
    stalled_ = true;
    if (!released()) waitForEnd(std::chrono::milliseconds(-1));
    stalled_ = false;
}

void Transport::abort()
{
    const std::lock_guard lock(mutex_);
    if (open_) shutdown(descriptor_, SHUT_RDWR);
}

void Transport::retireDescriptor()
{
    const std::lock_guard lock(mutex_);
    open_ = false;
}

} // namespace devserver
