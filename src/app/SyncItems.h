#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "app/SyncItem.h"

namespace tidemark {

/// An item as a list window takes it.
using SyncItemSnapshot = SyncItem;

/// The items of a running sequence and what has become of each, copied from the runs so that a view can show them
/// without touching the engine. Fed on the threads of the runs, read from any thread. What an item is never changes
/// after it was added and is shared with the readers; only states move, one at a time, and forward.
///
/// Rows count through all runs of the sequence in the order in which they were added.
class SyncItems
{
public:
    enum class State : std::uint8_t
    {
        waiting,
        underWay,
        done,
        /// Was tried, or was under way when its run ended.
        notDone,
        /// The run ended before it was tried.
        notReached
    };
    static constexpr std::size_t stateCount = 5;

    /// The items of one run.
    struct List
    {
        std::string configuration;
        std::vector<SyncItem> items;
    };
    /// Where a reader has got to; a new one stands before everything.
    struct Mark
    {
        std::uint64_t generation = 0;
        std::size_t lists = 0;
        std::size_t changes = 0;
    };
    /// What a reader has not seen yet, to be taken in this order.
    struct News
    {
        /// Everything the reader holds is gone.
        bool reset = false;
        /// Further rows, all waiting.
        std::vector<std::shared_ptr<const List>> lists;
        /// A row may come up more than once; the last state counts.
        std::vector<std::pair<std::size_t, State>> changes;
        Mark mark;

        bool empty() const { return !reset && lists.empty() && changes.empty(); }
    };
    /// Why the item of a pathname is not done, "" where nothing is known. Asked on the thread of the run.
    using Reasons = std::function<std::string(const std::string& pathname)>;

    // The sequence. ---------------------------------------------------------------------------------------------------

    /// Forgets everything.
    void resetSyncList();
    /// What comes from here on belongs to a run of `configuration`.
    void beginRun(std::string configuration, Reasons reasons = {});
    /// What is not done will not be done any more; the records of the run are not looked at after this.
    void endRun();

    // Messages of the engine. -----------------------------------------------------------------------------------------

    /// The records stay where they are until endRun().
    void addSyncList(const std::vector<BXSyncFileDataInfo*>& records);
    void updatedFile(const BXSyncFileDataInfo& record);

    // What is shown. --------------------------------------------------------------------------------------------------

    /// Moves with every change; cheap to ask.
    std::uint64_t changeCount() const { return changeCount_; }
    /// Takes time by the number of changes, not of items; the items themselves are not copied.
    News newsSince(const Mark& mark) const;
    /// "" for a row that is done, or that nothing is known of.
    std::string reason(std::size_t row) const;

private:
    // All with the lock held.
    void setState(std::size_t row, State state);
    void beginNext(std::size_t row);

    std::atomic<std::uint64_t> changeCount_ = 0;
    mutable std::mutex mutex_; // guards all below
    std::uint64_t generation_ = 1;
    std::vector<std::shared_ptr<const List>> lists_;
    std::vector<State> states_;
    /// Rows in the order in which their states moved.
    std::vector<std::uint32_t> changes_;
    std::unordered_map<std::size_t, std::string> reasonTexts_;
    // Of the current run.
    std::string configuration_;
    Reasons reasons_;
    std::size_t firstRow_ = 0;
    std::unordered_map<const BXSyncFileDataInfo*, std::uint32_t> rows_;
};

} // namespace tidemark
