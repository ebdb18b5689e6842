#include <algorithm>

#include <curl/curl.h>

#include "platform/HttpSessionState.h"

namespace tidemark {

HttpSession::HttpSession() : state_(std::make_unique<State>()) {}
HttpSession::~HttpSession() = default;

HttpSession::State::~State()
{
    for (const auto& idle : idle_)
        curl_easy_cleanup(idle.easy);
}

HttpSession::State::EasyHandle HttpSession::State::take(const std::string& key)
{
    std::lock_guard lock(mutex_);
    const auto found = std::find_if(idle_.rbegin(), idle_.rend(), [&](const Idle& idle) { return idle.key == key; });
    if (found == idle_.rend()) return curl_easy_init();
    const EasyHandle easy = found->easy;
    idle_.erase(std::next(found).base());
    return easy;
}

void HttpSession::State::give(const std::string& key, EasyHandle easy)
{
    EasyHandle surplus = nullptr;
    {
        std::lock_guard lock(mutex_);
        idle_.push_back({key, easy});
        if (idle_.size() > keptHandles) {
            surplus = idle_.front().easy;
            idle_.erase(idle_.begin());
        }
    }
    if (surplus) curl_easy_cleanup(surplus);
}

std::string sessionKey(const HttpStreamRequest& request)
{
    std::string key = request.url.scheme() + "://" + request.url.host() + ":" + std::to_string(request.url.port());
    if (request.proxy) key += " " + request.proxy->host + ":" + std::to_string(request.proxy->port);
    return key + " " + request.tls.extraTrustFile;
}

} // namespace tidemark
