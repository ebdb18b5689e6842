#include "devserver/Transport.h"

#include <poll.h>
#include <sys/socket.h>

namespace devserver {

bool Transport::waitForEnd(std::optional<std::chrono::milliseconds> limit)
{
    stalled_ = !limit;
    pollfd watched{descriptor_, POLLRDHUP, 0};
    const int found = poll(&watched, 1, limit ? static_cast<int>(limit->count()) : -1);
    stalled_ = false;
    return found != 0;
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
