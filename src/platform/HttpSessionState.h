#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/HttpStream.h"

namespace tidemark {

/// Idle easy handles. libcurl keeps a Digest nonce in the easy handle, so a handle that is used again for the same
/// server and proxy answers the server's next demand without being asked.
struct HttpSession::State
{
    /// A CURL*.
    using EasyHandle = void*;
    static constexpr std::size_t keptHandles = 4;

    ~State();

    /// The handle of that key used last, or a new one; null when memory is short.
    EasyHandle take(const std::string& key);
    void give(const std::string& key, EasyHandle easy);

private:
    struct Idle
    {
        std::string key;
        EasyHandle easy;
    };

    std::mutex mutex_; // guards idle_
    std::vector<Idle> idle_;
};

/// What a handle's authentication state belongs to: origin, proxy, and trust settings that are set only once.
std::string sessionKey(const HttpStreamRequest& request);

} // namespace tidemark
