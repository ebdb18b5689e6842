#include "app/SyncItems.h"

#include "SyncLibrary/BXSyncFileDataInfo.h"

namespace tidemark {

namespace {

bool isOpen(SyncItems::State state)
{
    return state == SyncItems::State::waiting || state == SyncItems::State::underWay;
}

} // namespace

void SyncItems::resetSyncList()
{
    std::lock_guard lock(mutex_);
    ++generation_;
    lists_.clear();
    states_ = {};
    changes_ = {};
    reasonTexts_.clear();
    firstRow_ = 0;
    rows_.clear();
    ++changeCount_;
}

void SyncItems::beginRun(std::string configuration, Reasons reasons)
{
    std::lock_guard lock(mutex_);
    configuration_ = std::move(configuration);
    reasons_ = std::move(reasons);
    firstRow_ = states_.size();
    rows_ = {};
}

void SyncItems::endRun()
{
    std::lock_guard lock(mutex_);
    for (auto row = firstRow_; row < states_.size(); ++row) {
        if (states_[row] == State::waiting) setState(row, State::notReached);
        if (states_[row] == State::underWay) setState(row, State::notDone);
    }
    firstRow_ = states_.size();
    reasons_ = {};
    rows_ = {};
}

void SyncItems::addSyncList(const std::vector<BXSyncFileDataInfo*>& records)
{
    auto list = std::make_shared<List>();
    list->items.reserve(records.size());
    decltype(rows_) rows;
    rows.reserve(records.size());
    for (const auto* record : records) {
        auto item = syncItem(*record);
        if (!item) continue;
        rows.emplace(record, static_cast<std::uint32_t>(list->items.size()));
        list->items.push_back(std::move(*item));
    }
    if (list->items.empty()) return;

    std::lock_guard lock(mutex_);
    list->configuration = configuration_;
    firstRow_ = states_.size();
    rows_ = std::move(rows);
    states_.resize(firstRow_ + list->items.size(), State::waiting);
    lists_.push_back(std::move(list));
    ++changeCount_;
    beginNext(firstRow_);
}

void SyncItems::updatedFile(const BXSyncFileDataInfo& record)
{
    Reasons reasons;
    std::size_t row = 0;
    {
        std::lock_guard lock(mutex_);
        const auto found = rows_.find(&record);
        if (found == rows_.end()) return;
        row = firstRow_ + found->second;
        if (!record.operateFinished) reasons = reasons_;
    }
    auto reason = reasons ? reasons(record.fileData.fileName) : std::string{};

    std::lock_guard lock(mutex_);
    if (row >= states_.size()) return;
    if (!reason.empty()) reasonTexts_[row] = std::move(reason);
    setState(row, record.operateFinished ? State::done : State::notDone);
    beginNext(row + 1);
}

void SyncItems::setState(std::size_t row, State state)
{
    if (!isOpen(states_[row])) return;
    states_[row] = state;
    changes_.push_back(static_cast<std::uint32_t>(row));
    ++changeCount_;
}

/// The engine does not announce an item; it takes them in the order of the list.
void SyncItems::beginNext(std::size_t row)
{
    if (row < states_.size() && states_[row] == State::waiting) setState(row, State::underWay);
}

SyncItems::News SyncItems::newsSince(const Mark& mark) const
{
    std::lock_guard lock(mutex_);
    News news;
    news.reset = mark.generation != generation_ && mark.generation != 0;
    const bool all = mark.generation != generation_;
    const auto listsSeen = all ? 0 : mark.lists;
    news.lists.assign(lists_.begin() + static_cast<std::ptrdiff_t>(listsSeen), lists_.end());
    news.changes.reserve(changes_.size() - (all ? 0 : mark.changes));
    for (auto at = all ? 0 : mark.changes; at < changes_.size(); ++at)
        news.changes.emplace_back(changes_[at], states_[changes_[at]]);
    news.mark = {generation_, lists_.size(), changes_.size()};
    return news;
}

std::string SyncItems::reason(std::size_t row) const
{
    std::lock_guard lock(mutex_);
    const auto found = reasonTexts_.find(row);
    return found == reasonTexts_.end() ? std::string{} : found->second;
}

} // namespace tidemark
