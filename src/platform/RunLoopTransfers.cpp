#include "platform/RunLoopTransfers.h"

#include <algorithm>
#include <new>
#include <utility>

#include <curl/curl.h>

namespace tidemark {

namespace {

constexpr long keptConnections = 8;
constexpr std::chrono::milliseconds longestWait = std::chrono::hours(1);

void* makeMulti()
{
    static const CURLcode initialised = curl_global_init(CURL_GLOBAL_DEFAULT);
    CURLM* multi = initialised == CURLE_OK ? curl_multi_init() : nullptr;
    if (!multi) throw std::bad_alloc();
    curl_multi_setopt(multi, CURLMOPT_MAXCONNECTS, keptConnections);
    return multi;
}

} // namespace

RunLoop::Transfers::Transfers() : multi_(makeMulti()) {}

RunLoop::Transfers::~Transfers()
{
    while (!owners_.empty()) {
        auto owner = detach(owners_.begin()->first);
        owner->transferWasDropped();
    }
    curl_multi_cleanup(multi_);
}

bool RunLoop::Transfers::add(EasyHandle easy, std::shared_ptr<Owner> owner)
{
    if (curl_multi_add_handle(multi_, easy) != CURLM_OK) return false;
    owners_.emplace(easy, std::move(owner));
    return true;
}

void RunLoop::Transfers::remove(EasyHandle easy, std::function<void()> removed)
{
    removals_.push_back({easy, std::move(removed)});
    if (!performing_) carryOutRemovals();
}

bool RunLoop::Transfers::perform()
{
    if (performing_ || owners_.empty()) return false;
    performing_ = true;
    int running = 0;
    curl_multi_perform(multi_, &running);
    performing_ = false;
    collectEnded();
    carryOutRemovals();

    bool any = std::exchange(progressed_, false);
    while (!ended_.empty()) {
        const Ended ended = ended_.front();
        ended_.pop_front();
        if (auto owner = detach(ended.easy)) owner->transferDidFinish(ended.curlCode);
        any = true;
    }
    return any;
}

void RunLoop::Transfers::wait(std::optional<Duration> limit)
{
    using std::chrono::milliseconds;
    const Duration wanted = std::clamp<Duration>(limit.value_or(longestWait), Duration::zero(), longestWait);
    curl_multi_poll(multi_, nullptr, 0, static_cast<int>(std::chrono::ceil<milliseconds>(wanted).count()), nullptr);
}

void RunLoop::Transfers::wake()
{
    curl_multi_wakeup(multi_);
}

std::shared_ptr<RunLoop::Transfers::Owner> RunLoop::Transfers::detach(EasyHandle easy)
{
    const auto found = owners_.find(easy);
    if (found == owners_.end()) return nullptr;
    auto owner = std::move(found->second);
    owners_.erase(found);
    curl_multi_remove_handle(multi_, easy);
    return owner;
}

void RunLoop::Transfers::collectEnded()
{
    int left = 0;
    while (const CURLMsg* message = curl_multi_info_read(multi_, &left)) {
        if (message->msg == CURLMSG_DONE) ended_.push_back({message->easy_handle, message->data.result});
    }
}

void RunLoop::Transfers::carryOutRemovals()
{
    while (!removals_.empty()) {
        Removal removal = std::move(removals_.front());
        removals_.pop_front();
        // The handle may be given to another request as soon as it is out: nothing of this one may stay queued.
        std::erase_if(ended_, [&](const Ended& ended) { return ended.easy == removal.easy; });
        const auto owner = detach(removal.easy);
        removal.removed();
    }
}

} // namespace tidemark
