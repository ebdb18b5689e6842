#include "SyncLibrary/BXSyncInflight.h"

#include <algorithm>

#include "SyncLibrary/BXSyncUtils.h"
#include "platform/FileAbsence.h"
#include "platform/FileSystem.h"

namespace tidemark {

namespace {

constexpr const char* absent = "-";

/// What lies at the path, as a text without blanks; equal texts mean an untouched file.
std::string stateAt(const std::string& diskPath)
{
    const auto found = fs::attributes(diskPath);
    if (!found || found->kind != fs::FileKind::file) return absent;
    char text[64];
    std::snprintf(text, sizeof text, "%lld:%.9f", static_cast<long long>(found->size), found->modified);
    return text;
}

std::string stateOf(const BXSyncInflight::Locate& locate, const std::string& pathname)
{
    const auto diskPath = locate(pathname);
    return diskPath ? stateAt(*diskPath) : absent;
}

std::vector<BXSyncInflightRecord::Entry> suspects(BXSyncInflightRecord record, const std::string& systemStart)
{
    if (systemStart.empty() || record.systemStart != systemStart) return std::move(record.entries);
    if (!record.underWay) return {};
    return {std::move(record.entries[*record.underWay])};
}

/// Nothing for a file that is untouched or gone.
std::optional<std::string> halfFile(const BXSyncInflight::Locate& locate, const BXSyncInflightRecord::Entry& entry)
{
    const auto diskPath = locate(entry.pathname);
    if (!diskPath) return std::nullopt;
    const auto present = stateAt(*diskPath);
    if (present == absent || present == entry.before) return std::nullopt;
    return *diskPath;
}

} // namespace

BXSyncInflight::BXSyncInflight(const std::string& syncinfoPath, Locate locate, std::string systemStart)
    : path_(pathFor(syncinfoPath)), locate_(std::move(locate)), systemStart_(std::move(systemStart))
{
}

BXSyncInflight::~BXSyncInflight()
{
    if (!record_ || underWay_) return;
    record_.reset();
    // One that stays names no half file.
    static_cast<void>(fs::removeFile(path_));
}

void BXSyncInflight::plan(std::vector<std::string> pathnames)
{
    planned_ = std::move(pathnames);
    nextPlanned_ = 0;
}

bool BXSyncInflight::isNextInBatch(const std::string& pathname) const
{
    return record_ && nextInBatch_ < batch_.size() && batch_[nextInBatch_].pathname == pathname &&
           batch_[nextInBatch_].before == stateOf(locate_, pathname);
}

Status BXSyncInflight::begin(const std::string& pathname)
{
    while (record_ && nextInBatch_ < batch_.size() && batch_[nextInBatch_].pathname != pathname)
        ++nextInBatch_;
    if (!isNextInBatch(pathname))
        if (auto written = writeBatch(nextBatch(pathname)); !written) return written;
    auto begun = append(BXSyncInflightRecord::began, nextInBatch_);
    underWay_ = begun.has_value();
    return begun;
}

void BXSyncInflight::end()
{
    // Without this line the file is looked at once more, no harm done.
    static_cast<void>(append(BXSyncInflightRecord::ended, nextInBatch_));
    underWay_ = false;
    ++nextInBatch_;
}

/// The path and those planned after it.
std::vector<BXSyncInflight::Entry> BXSyncInflight::nextBatch(const std::string& pathname)
{
    const auto from = planned_.begin() + static_cast<std::ptrdiff_t>(nextPlanned_);
    const auto found = std::find(from, planned_.end(), pathname);
    if (found == planned_.end()) return {{pathname, stateOf(locate_, pathname)}};
    const auto count = std::min<std::ptrdiff_t>(batchSize, planned_.end() - found);
    std::vector<Entry> batch;
    for (auto at = found; at != found + count; ++at)
        batch.push_back({*at, stateOf(locate_, *at)});
    nextPlanned_ = static_cast<std::size_t>(found - planned_.begin());
    return batch;
}

Status BXSyncInflight::writeBatch(std::vector<Entry> batch)
{
    auto text = BXSyncInflightRecord::head(systemStart_);
    for (const auto& entry : batch)
        text += BXSyncInflightRecord::entryLine(entry);
    record_.reset();
    if (auto replaced = fs::replaceFile(path_, text); !replaced) return replaced;
    record_ = makeFileOutputStream(path_, true);
    if (!record_->open()) return failure("POSIX", 0, path_ + ": cannot be opened");
    batch_ = std::move(batch);
    nextInBatch_ = 0;
    return {};
}

Status BXSyncInflight::append(char what, std::size_t index)
{
    const auto line = BXSyncInflightRecord::progressLine(what, index);
    if (record_ && record_->write(std::as_bytes(std::span(line)))) return {};
    return failure("POSIX", 0, path_ + ": cannot be written");
}

Result<std::vector<std::string>> BXSyncInflight::recover(const std::string& syncinfoPath, const Locate& locate,
                                                         const std::string& systemStart)
{
    const auto path = pathFor(syncinfoPath);
    if (const auto found = fs::attributes(path); !found && fs::isAbsence(found.error()))
        return std::vector<std::string>();
    auto text = fs::readFile(path);
    if (!text) return failure(std::move(text.error()));
    std::vector<std::string> treated;
    for (const auto& entry : suspects(BXSyncInflightRecord::parse(*text), systemStart)) {
        const auto diskPath = halfFile(locate, entry);
        if (!diskPath) continue;
        if (!BXSyncUtils::addSuspendFlag(*diskPath))
            if (auto removed = fs::removeFile(*diskPath); !removed) return failure(std::move(removed.error()));
        treated.push_back(entry.pathname);
    }
    if (auto removed = fs::removeFile(path); !removed) return failure(std::move(removed.error()));
    return treated;
}

std::string BXSyncInflight::currentSystemStart()
{
    auto text = fs::readFile("/proc/sys/kernel/random/boot_id");
    if (!text) return {};
    std::erase_if(*text, [](char c) { return c == '\n' || c == ' '; });
    return *text;
}

} // namespace tidemark
