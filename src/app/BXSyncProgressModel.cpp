#include "app/BXSyncProgressModel.h"

#include <algorithm>
#include <initializer_list>
#include <string_view>
#include <utility>

#include "app/SyncItems.h"
#include "platform/FileSystem.h"
#include "platform/Localization.h"

namespace tidemark {

namespace {

constexpr const char* messages = "TidemarkResource";

/// The localised text of `key` with its "%@" and "%ld" filled in order.
std::string formatted(const char* key, std::initializer_list<std::string> arguments)
{
    const auto format = Localization::text(messages, key);
    std::string text;
    auto argument = arguments.begin();
    for (std::size_t at = 0; at < format.size();) {
        const auto rest = std::string_view(format).substr(at);
        const std::size_t length = rest.starts_with("%@") ? 2 : rest.starts_with("%ld") ? 3 : 0;
        if (length > 0 && argument != arguments.end())
            text += *argument++;
        else
            text += rest.substr(0, std::max<std::size_t>(length, 1));
        at += std::max<std::size_t>(length, 1);
    }
    return text;
}

std::uint64_t units(std::int64_t bytes)
{
    return static_cast<std::uint64_t>(std::max<std::int64_t>(bytes, 0));
}

} // namespace

BXSyncProgressModel::BXSyncProgressModel(const Clock& clock) : clock_(clock)
{
    resetWindow();
}

void BXSyncProgressModel::resetWindow()
{
    std::lock_guard lock(mutex_);
    values_ = {};
    values_.startDate = clock_.steadyNow();
}

void BXSyncProgressModel::setConnectCount(std::int64_t count)
{
    std::lock_guard lock(mutex_);
    values_.connectCount = count;
}

void BXSyncProgressModel::setFinishConnectCount(std::int64_t count)
{
    std::lock_guard lock(mutex_);
    values_.finishConnectCount = count;
}

double BXSyncProgressModel::finishedPercent() const
{
    std::lock_guard lock(mutex_);
    return values_.connectCount > 0
               ? 100.0 * static_cast<double>(values_.finishConnectCount) / static_cast<double>(values_.connectCount)
               : 0;
}

void BXSyncProgressModel::setPercentProgress(double percent, std::string label)
{
    std::lock_guard lock(mutex_);
    values_.percent = percent;
    values_.label = std::move(label);
    values_.stage = Stage::idle;
}

void BXSyncProgressModel::setTransferMeter(const BXSyncTransferMeter* meter)
{
    std::lock_guard lock(mutex_);
    meter_ = meter;
}

void BXSyncProgressModel::setItems(SyncItems* items)
{
    std::lock_guard lock(mutex_);
    items_ = items;
}

SyncItems* BXSyncProgressModel::items() const
{
    std::lock_guard lock(mutex_);
    return items_;
}

void BXSyncProgressModel::setCancelHandler(std::function<void()> handler)
{
    std::lock_guard lock(mutex_);
    cancelHandler_ = std::move(handler);
}

void BXSyncProgressModel::cancelSync()
{
    std::function<void()> handler;
    {
        std::lock_guard lock(mutex_);
        values_.canceled = true;
        handler = cancelHandler_;
    }
    if (handler) handler();
}

bool BXSyncProgressModel::canceled() const
{
    std::lock_guard lock(mutex_);
    return values_.canceled;
}

void BXSyncProgressModel::setCanceled(bool canceled)
{
    std::lock_guard lock(mutex_);
    values_.canceled = canceled;
}

void BXSyncProgressModel::setTotalFiles(std::int64_t totalFiles, std::int64_t deleteFiles, std::int64_t totalBytes,
                                        bool progressReset)
{
    std::lock_guard lock(mutex_);
    auto& v = values_;
    v.currentFiles = 0;
    v.totalFiles = totalFiles;
    v.deletedFiles = deleteFiles;
    v.totalBytes = units(totalBytes) + unitsPerDeletion * units(deleteFiles);
    if (v.totalBytes == 0 && totalFiles >= 1) v.totalBytes = 1;
    if (!progressReset) return;
    // A run begins: what earlier runs of the sequence have done is not part of its bar.
    v.currentDeletedFiles = 0;
    v.commitBytes = 0;
    v.commitTimes = 0;
    v.startDate = clock_.steadyNow();
    v.stage = Stage::idle;
    v.restingBar = totalFiles == 0 ? 1 : 0;
}

void BXSyncProgressModel::addListUpFiles(std::int64_t count)
{
    std::lock_guard lock(mutex_);
    values_.totalFiles += count;
    values_.stage = Stage::listing;
}

void BXSyncProgressModel::setListUpFiles()
{
    std::lock_guard lock(mutex_);
    ++values_.currentFiles;
    values_.stage = Stage::listing;
}

void BXSyncProgressModel::addSyncList(const std::vector<BXSyncFileDataInfo*>& records)
{
    if (auto* copies = items()) copies->addSyncList(records);
}

void BXSyncProgressModel::updatedFile(const BXSyncFileDataInfo& record)
{
    if (auto* copies = items()) copies->updatedFile(record);
}

void BXSyncProgressModel::setThread(const std::shared_ptr<ASWDCmd>&)
{
    std::lock_guard lock(mutex_);
    values_.startDate = clock_.steadyNow();
}

void BXSyncProgressModel::setFileName(const std::string& source, const std::string&, std::int64_t size)
{
    std::lock_guard lock(mutex_);
    beginItem(source, units(size));
    values_.stage = Stage::transferring;
    values_.operationKey = source.starts_with("http") ? "PROCESSING_DOWNLOAD" : "PROCESSING_UPLOAD";
}

void BXSyncProgressModel::setDeleteFileName(const std::string& path)
{
    std::lock_guard lock(mutex_);
    beginItem(path, 0);
    ++values_.currentDeletedFiles;
    values_.commitBytes += unitsPerDeletion;
    values_.stage = Stage::deleting;
    values_.operationKey = "PROCESSING_DELETE";
}

void BXSyncProgressModel::addTotalFileSize(std::int64_t bytes)
{
    std::lock_guard lock(mutex_);
    values_.totalBytes += units(bytes);
    values_.stage = Stage::transferring;
}

void BXSyncProgressModel::finish()
{
    std::lock_guard lock(mutex_);
    values_.commitBytes += values_.currentFileSize;
    values_.commitTimes += secondsSinceStart();
    values_.startDate = clock_.steadyNow();
    values_.stage = Stage::betweenItems;
}

BXSyncProgressModel::Snapshot BXSyncProgressModel::snapshot() const
{
    std::lock_guard lock(mutex_);
    const auto& v = values_;
    const auto sent = sentSize();
    Snapshot result;
    result.stage = v.stage;
    result.fileProgress = fileProgress(sent);
    result.overallProgress = overallProgress(result.fileProgress);
    result.label = v.label;
    result.operationKey = v.operationKey;
    result.fileName = v.fileName;
    result.currentFiles = v.currentFiles;
    result.totalFiles = v.totalFiles;
    result.currentDeletedFiles = v.currentDeletedFiles;
    result.deletedFiles = v.deletedFiles;
    result.doneBytes = v.commitBytes + sent;
    result.totalBytes = v.totalBytes;
    result.sentSize = sent;
    result.currentFileSize = v.currentFileSize;
    result.speed = speed();
    result.remainingSeconds = result.speed ? remainingSeconds(*result.speed, sent) : 0;
    return result;
}

void BXSyncProgressModel::beginItem(const std::string& path, std::uint64_t size)
{
    ++values_.currentFiles;
    values_.currentFileSize = size;
    values_.fileName = fs::lastPathComponent(path);
}

double BXSyncProgressModel::secondsSinceStart() const
{
    return std::chrono::duration<double>(clock_.steadyNow() - values_.startDate).count();
}

/// Nothing of the command in flight counts outside a transfer: the item is not begun, or it is among the finished ones.
std::uint64_t BXSyncProgressModel::sentSize() const
{
    return meter_ && values_.stage == Stage::transferring ? units(meter_->sentSize()) : 0;
}

double BXSyncProgressModel::fileProgress(std::uint64_t sent) const
{
    const auto& v = values_;
    switch (v.stage) {
    case Stage::idle:
        return v.restingBar;
    case Stage::listing:
        return v.totalFiles > 0 ? listupShare * std::min(1.0, static_cast<double>(v.currentFiles) /
                                                                  static_cast<double>(v.totalFiles))
                                : 0;
    case Stage::transferring:
    case Stage::deleting:
    case Stage::betweenItems:
        break;
    }
    if (v.totalBytes == 0) return 1;
    const double done = static_cast<double>(v.commitBytes + sent) / static_cast<double>(v.totalBytes);
    return listupShare + (1 - listupShare) * std::min(done, 1.0);
}

double BXSyncProgressModel::overallProgress(double file) const
{
    const auto& v = values_;
    if (v.stage == Stage::idle) return v.percent / 100;
    return v.connectCount > 0 ? (file + static_cast<double>(v.finishConnectCount)) / static_cast<double>(v.connectCount)
                              : file;
}

std::optional<std::uint64_t> BXSyncProgressModel::speed() const
{
    const auto& v = values_;
    if (v.stage != Stage::transferring) return std::nullopt;
    const double elapsed = v.commitTimes + secondsSinceStart();
    double perSecond = 0;
    if (elapsed > 0)
        perSecond = static_cast<double>(v.commitBytes + (meter_ ? units(meter_->transSize()) : 0)) / elapsed;
    else if (v.commitTimes > 0)
        perSecond = static_cast<double>(v.commitBytes) / v.commitTimes;
    const auto whole = static_cast<std::uint64_t>(perSecond);
    return whole >= 1 ? std::optional(whole) : std::nullopt;
}

std::uint64_t BXSyncProgressModel::remainingSeconds(std::uint64_t speed, std::uint64_t sent) const
{
    const auto done = values_.commitBytes + sent;
    return done < values_.totalBytes ? (values_.totalBytes - done) / speed : 0;
}

BXSyncProgressModel::Texts BXSyncProgressModel::texts(const Snapshot& snapshot)
{
    Texts texts;
    if (!snapshot.operationKey.empty()) {
        texts.operation = Localization::text(messages, snapshot.operationKey);
        texts.counter = snapshot.fileName + "(" + std::to_string(snapshot.currentFiles) + "/" +
                        std::to_string(snapshot.totalFiles) + ")";
    }
    texts.overall = formatted("PROGRESS_ALL", {std::to_string(snapshot.currentFiles), bytesFormat(snapshot.doneBytes),
                                               bytesFormat(snapshot.totalBytes)});
    if (snapshot.stage != Stage::transferring) return texts;
    const auto sent = bytesFormat(snapshot.sentSize);
    const auto size = bytesFormat(snapshot.currentFileSize);
    texts.size = snapshot.speed ? formatted("PROGRESS_CURRENT", {sent, size, bytesFormat(*snapshot.speed >> 10)})
                                : formatted("PROGRESS_CURRENT_NOSPPED", {sent, size});
    texts.remainingTime = remainingTimeText(snapshot.remainingSeconds);
    return texts;
}

std::string BXSyncProgressModel::remainingTimeText(std::uint64_t seconds)
{
    std::string text;
    if (seconds >= 3600) text += formatted("HOURS", {std::to_string(seconds / 3600)});
    // Exactly one minute is shown as 60 seconds below, without its minute.
    if (seconds > 60) text += formatted("MINUTES", {std::to_string(seconds / 60 % 60)});
    const auto shownSeconds = seconds == 60 ? seconds : seconds % 60;
    return text + formatted("SECONDS", {std::to_string(shownSeconds)});
}

std::string BXSyncProgressModel::bytesFormat(std::uint64_t number)
{
    std::string text = std::to_string(number);
    for (auto end = text.size(); end > 3; end -= 3)
        text.insert(end - 3, 1, ',');
    return text;
}

} // namespace tidemark
