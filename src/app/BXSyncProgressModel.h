#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "SyncLibrary/BXSyncProgressDelegate.h"
#include "platform/Clock.h"

namespace tidemark {

class SyncItems;

/// How much of the command in flight has been moved, as the running manager tells it. Any thread.
class BXSyncTransferMeter
{
public:
    virtual ~BXSyncTransferMeter() = default;
    /// Bytes of the current file that are through, those of an earlier attempt included.
    virtual std::int64_t sentSize() const = 0;
    /// Bytes moved by the current command alone.
    virtual std::int64_t transSize() const = 0;
};

/// The counters of a running sequence, and the arithmetic of its bars, speed and remaining time. It receives the
/// progress messages of the engine on the engine's threads and is looked at from any thread: whoever shows it takes
/// snapshot() in intervals of its own.
///
/// The listup owns the first 20 % of a configuration's bar, the transfers the remaining 80 %. Work is counted in
/// units: a byte of a file is one, a deletion is 1000.
class BXSyncProgressModel : public BXSyncProgressDelegate
{
public:
    static constexpr std::uint64_t unitsPerDeletion = 1000;
    static constexpr double listupShare = 0.2;

    /// `clock` outlives the model.
    explicit BXSyncProgressModel(const Clock& clock = Clock::system());

    // The sequence. ---------------------------------------------------------------------------------------------------

    /// Everything to where it is before a sequence.
    void resetWindow();
    void setConnectCount(std::int64_t count);
    void setFinishConnectCount(std::int64_t count);
    /// What the finished configurations are of the overall bar, 0 to 100.
    double finishedPercent() const;
    /// `percent` of the overall bar, 0 to 100.
    void setPercentProgress(double percent, std::string label);
    /// The manager whose command is measured, or null. Not owned: taken away before it ends.
    void setTransferMeter(const BXSyncTransferMeter* meter);
    /// Where the running manager's items are copied to, or null. Not owned.
    void setItems(SyncItems* items);

    /// What cancelSync() calls, besides leaving its mark; the running manager's cancel.
    void setCancelHandler(std::function<void()> handler);
    void cancelSync();
    bool canceled() const;
    void setCanceled(bool canceled);

    // Messages of the engine. -----------------------------------------------------------------------------------------

    void setTotalFiles(std::int64_t totalFiles, std::int64_t deleteFiles, std::int64_t totalBytes,
                       bool progressReset) override;
    void addListUpFiles(std::int64_t count) override;
    void setListUpFiles() override;
    void addSyncList(const std::vector<BXSyncFileDataInfo*>& records) override;
    void updatedFile(const BXSyncFileDataInfo& record) override;
    void setThread(const std::shared_ptr<ASWDCmd>& command) override;
    void setFileName(const std::string& source, const std::string& destination, std::int64_t size) override;
    void setDeleteFileName(const std::string& path) override;
    void addTotalFileSize(std::int64_t bytes) override;
    void finish() override;

    // What is shown. --------------------------------------------------------------------------------------------------

    enum class Stage
    {
        idle,
        listing,
        transferring,
        deleting,
        betweenItems
    };

    struct Snapshot
    {
        Stage stage = Stage::idle;
        /// 0 to 1.
        double fileProgress = 0;
        double overallProgress = 0;
        /// The label of the running configuration.
        std::string label;
        /// Message key: "PROCESSING_DOWNLOAD", "PROCESSING_UPLOAD" or "PROCESSING_DELETE"; "" before the first item.
        std::string operationKey;
        /// Last component of the item under way.
        std::string fileName;
        std::int64_t currentFiles = 0;
        std::int64_t totalFiles = 0;
        std::int64_t currentDeletedFiles = 0;
        std::int64_t deletedFiles = 0;
        std::uint64_t doneBytes = 0;
        std::uint64_t totalBytes = 0;
        std::uint64_t sentSize = 0;
        std::uint64_t currentFileSize = 0;
        /// Whole bytes per second, at least 1 where known.
        std::optional<std::uint64_t> speed;
        std::uint64_t remainingSeconds = 0;
    };
    /// As of now.
    Snapshot snapshot() const;

    /// The localised texts of a snapshot.
    struct Texts
    {
        std::string operation;
        /// "name(3/12)".
        std::string counter;
        /// Bytes of the current file with or without the speed.
        std::string size;
        std::string remainingTime;
        std::string overall;
    };
    static Texts texts(const Snapshot& snapshot);

    /// Decimal with "," every three digits.
    static std::string bytesFormat(std::uint64_t number);
    /// Hours, minutes and seconds in words.
    static std::string remainingTimeText(std::uint64_t seconds);

private:
    struct Values
    {
        std::int64_t connectCount = 0;
        std::int64_t finishConnectCount = 0;
        std::int64_t totalFiles = 0;
        std::int64_t deletedFiles = 0;
        std::int64_t currentFiles = 0;
        std::int64_t currentDeletedFiles = 0;
        std::uint64_t totalBytes = 0;
        std::uint64_t currentFileSize = 0;
        std::uint64_t commitBytes = 0;
        double commitTimes = 0;
        Clock::SteadyTime startDate;
        /// The bar of a run whose stage is idle.
        double restingBar = 0;
        double percent = 0;
        Stage stage = Stage::idle;
        std::string label;
        std::string operationKey;
        std::string fileName;
        bool canceled = false;
    };

    SyncItems* items() const;

    // All with the lock held.
    void beginItem(const std::string& path, std::uint64_t size);
    double secondsSinceStart() const;
    std::uint64_t sentSize() const;
    double fileProgress(std::uint64_t sent) const;
    double overallProgress(double file) const;
    std::optional<std::uint64_t> speed() const;
    std::uint64_t remainingSeconds(std::uint64_t speed, std::uint64_t sent) const;

    const Clock& clock_;
    mutable std::mutex mutex_; // guards all below
    Values values_;
    const BXSyncTransferMeter* meter_ = nullptr;
    SyncItems* items_ = nullptr;
    std::function<void()> cancelHandler_;
};

} // namespace tidemark
