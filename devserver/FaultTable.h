#pragma once

#include "devserver/Fault.h"
#include "devserver/HttpMessage.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <string_view>
#include <vector>

namespace devserver {

// What the faults that struck one exchange do to it.
struct FaultPlan
{
    std::optional<fault::Status> status;
    std::chrono::milliseconds delay{0};
    std::optional<std::uint64_t> cutRequest;
    std::optional<std::uint64_t> cutResponse;
    bool dropResponse = false;
    bool closeAfter = false;
    std::optional<std::uint64_t> contentLength;
    bool noContentLength = false;
    bool brokenChunks = false;
    std::optional<fault::Stall> stall;
    std::optional<std::string> replaceBody;
    std::optional<std::uint64_t> truncateBody;
    std::optional<fault::EndlessBody> endless;
    std::vector<fault::Header> headers;
    std::vector<fault::HugeHeader> hugeHeaders;
    std::optional<std::string> rawHeader;
    ListingChanges listing;
    std::vector<fault::Call> calls;
    std::function<bool()> released; // whether a stall of this plan has been released
};

struct ConnectPlan
{
    fault::ConnectAction action = fault::ConnectAction::Close;
    std::function<bool()> released;
};

// The faults that wait for their requests. Thread-safe.
class FaultTable
{
public:
    void add(Fault fault);
    void clear();
    // Uses up one count of each fault that matches.
    FaultPlan strike(std::string_view method, std::string_view path);
    std::optional<ConnectPlan> strikeConnection();
    // Releases the stalls of all plans made so far, those not yet reached too.
    void releaseStalls();

    std::size_t struck() const;
    bool waitForStruck(std::size_t count, std::chrono::seconds limit) const;

private:
    bool consume(Fault& fault);
    std::function<bool()> releaseCheck() const;

    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    std::vector<Fault> faults_; // guarded by mutex_
    std::size_t struck_ = 0;    // guarded by mutex_
    std::size_t released_ = 0;  // the faults struck up to the last release; guarded by mutex_
};

} // namespace devserver
