#include "devserver/FaultTable.h"

#include "devserver/Text.h"

namespace devserver {

namespace {

// Writes an effect into a plan.
struct Planner
{
    FaultPlan& plan;

    void operator()(const fault::Status& effect) const { plan.status = effect; }
    void operator()(const fault::Delay& effect) const { plan.delay += effect.time; }
    void operator()(const fault::CutRequest& effect) const { plan.cutRequest = effect.afterBytes; }
    void operator()(const fault::CutResponse& effect) const { plan.cutResponse = effect.afterBytes; }
    void operator()(const fault::DropResponse&) const { plan.dropResponse = true; }
    void operator()(const fault::CloseAfter&) const { plan.closeAfter = true; }
    void operator()(const fault::WrongContentLength& effect) const { plan.contentLength = effect.value; }
    void operator()(const fault::NoContentLength&) const { plan.noContentLength = true; }
    void operator()(const fault::BrokenChunks&) const { plan.brokenChunks = true; }
    void operator()(const fault::Stall& effect) const { plan.stall = effect; }
    void operator()(const fault::OnConnect&) const {}
    void operator()(const fault::ReplaceBody& effect) const { plan.replaceBody = effect.body; }
    void operator()(const fault::TruncateBody& effect) const { plan.truncateBody = effect.bytes; }
    void operator()(const fault::EndlessBody& effect) const { plan.endless = effect; }
    void operator()(const fault::Header& effect) const { plan.headers.push_back(effect); }
    void operator()(const fault::HugeHeader& effect) const { plan.hugeHeaders.push_back(effect); }
    void operator()(const fault::RawHeader& effect) const { plan.rawHeader = effect.text; }
    void operator()(const fault::ReplaceHref& effect) const { plan.listing.replaced.push_back(effect); }
    void operator()(const fault::AddEntry& effect) const { plan.listing.added.push_back(effect); }
    void operator()(const fault::Call& effect) const { plan.calls.push_back(effect); }
};

bool isForConnection(const Fault& fault)
{
    return std::holds_alternative<fault::OnConnect>(fault.effect);
}

bool matches(const Fault& fault, std::string_view method, std::string_view path)
{
    return !isForConnection(fault) && (fault.method == "*" || fault.method == method) &&
           matchesGlob(fault.pattern, path);
}

} // namespace

void FaultTable::add(Fault fault)
{
    const std::lock_guard lock(mutex_);
    faults_.push_back(std::move(fault));
}

void FaultTable::clear()
{
    const std::lock_guard lock(mutex_);
    faults_.clear();
}

bool FaultTable::consume(Fault& fault)
{
    if (fault.count == 0) return false;
    if (fault.skip > 0) {
        --fault.skip;
        return false;
    }
    if (fault.count != Fault::forever) --fault.count;
    ++struck_;
    changed_.notify_all();
    return true;
}

FaultPlan FaultTable::strike(std::string_view method, std::string_view path)
{
    FaultPlan plan;
    const std::lock_guard lock(mutex_);
    for (Fault& fault : faults_)
        if (matches(fault, method, path) && consume(fault)) std::visit(Planner{plan}, fault.effect);
    plan.released = releaseCheck();
    return plan;
}

std::optional<ConnectPlan> FaultTable::strikeConnection()
{
    const std::lock_guard lock(mutex_);
    for (Fault& fault : faults_)
        if (isForConnection(fault) && consume(fault))
            return ConnectPlan{std::get<fault::OnConnect>(fault.effect).action, releaseCheck()};
    return {};
}

std::function<bool()> FaultTable::releaseCheck() const
{
    return [this, number = struck_] {
        const std::lock_guard lock(mutex_);
        return released_ >= number;
    };
}

void FaultTable::releaseStalls()
{
    const std::lock_guard lock(mutex_);
    released_ = struck_;
}

std::size_t FaultTable::struck() const
{
    const std::lock_guard lock(mutex_);
    return struck_;
}

bool FaultTable::waitForStruck(std::size_t count, std::chrono::seconds limit) const
{
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, limit, [&] { return struck_ >= count; });
}

} // namespace devserver
