#include "SyncLibrary/BXSyncInflight.h"

#include <algorithm>
#include <cstdlib>

#include "SyncLibrary/BXSyncInspectFile.h"
#include "SyncLibrary/BXSyncUtils.h"
#include "platform/FileAbsence.h"
#include "platform/FileSystem.h"

namespace tidemark {

namespace {

constexpr const char* absent = "-";

/// What lies at the path, as a text without blanks; equal texts mean an untouched file.
Result<std::string> stateAt(const std::string& diskPath)
{
    const auto found = fs::attributes(diskPath);
    if (!found && !fs::isAbsence(found.error())) return failure(found.error());
    if (!found || found->kind != fs::FileKind::file) return absent;
    char text[64];
    std::snprintf(text, sizeof text, "%lld:%.9f", static_cast<long long>(found->size), found->modified);
    return text;
}

Result<std::string> stateOf(const BXSyncInflight::Locate& locate, const std::string& pathname)
{
    const auto diskPath = locate(pathname);
    return diskPath ? stateAt(*diskPath) : Result<std::string>(absent);
}

/// What a run that died may have left half done.
struct Suspects
{
    std::vector<BXSyncInflightRecord::Entry> entries;
    /// Of the only one.
    std::string version;
    /// Whether a file changed since the present start of the system may be one.
    bool includesRecent = true;
};

Suspects suspects(BXSyncInflightRecord record, const std::string& systemStart)
{
    const bool sameStart = !systemStart.empty() && record.systemStart == systemStart;
    if (!sameStart) return {std::move(record.entries), {}, systemStart.empty()};
    if (!record.underWay) return {};
    return {{std::move(record.entries[*record.underWay])}, std::move(record.version), true};
}

bool isRecent(const std::string& diskPath, dates::Seconds startTime)
{
    const auto found = fs::attributes(diskPath);
    return found && found->modified >= startTime;
}

/// Where it lies; nothing for a file that is untouched or gone.
Result<std::optional<std::string>> halfFile(const BXSyncInflight::Locate& locate,
                                            const BXSyncInflightRecord::Entry& entry)
{
    const auto diskPath = locate(entry.pathname);
    if (!diskPath) return std::nullopt;
    auto present = stateAt(*diskPath);
    if (!present) return failure(std::move(present.error()));
    if (*present == absent || *present == entry.before) return std::nullopt;
    return *diskPath;
}

/// A part of which nothing is known is not gone on with.
bool markPart(const std::string& diskPath, const std::string& version)
{
    const std::string noted = version.empty() ? "unknown" : version;
    return fs::setExtendedAttribute(diskPath, BXSyncUtils::partVersionAttribute, noted) &&
           BXSyncUtils::addSuspendFlag(diskPath);
}

Status forget(const std::string& syncinfoPath, const std::vector<std::string>& pathnames)
{
    if (pathnames.empty()) return {};
    BXSyncInspectFile stored;
    if (auto read = stored.readSyncInfo(syncinfoPath); !read) return failure(std::move(read.error()));
    for (const auto& pathname : pathnames)
        if (auto* record = stored.getFileUpdate(pathname)) record->state = SyncState::deleted;
    return stored.writeSyncInfo(syncinfoPath);
}

} // namespace

BXSyncInflight::BXSyncInflight(const std::string& syncinfoPath, std::string folder, Locate locate,
                               std::string systemStart)
    : path_(pathFor(syncinfoPath)), folder_(std::move(folder)), locate_(std::move(locate)),
      systemStart_(std::move(systemStart))
{
}

BXSyncInflight::~BXSyncInflight()
{
    if (!record_ || underWay_ || !flush()) return;
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
    if (!record_ || nextInBatch_ >= batch_.size() || batch_[nextInBatch_].pathname != pathname) return false;
    const auto state = stateOf(locate_, pathname);
    return state && *state == batch_[nextInBatch_].before;
}

Status BXSyncInflight::begin(const std::string& pathname, const std::string& version)
{
    while (record_ && nextInBatch_ < batch_.size() && batch_[nextInBatch_].pathname != pathname)
        ++nextInBatch_;
    if (!isNextInBatch(pathname)) {
        auto batch = nextBatch(pathname);
        if (!batch) return failure(std::move(batch.error()));
        if (auto written = writeBatch(std::move(*batch)); !written) return written;
    }
    auto begun = append(BXSyncInflightRecord::began, nextInBatch_, version);
    underWay_ = begun.has_value();
    return begun;
}

Status BXSyncInflight::end(bool isWhole)
{
    if (!isWhole) {
        const auto half = halfFile(locate_, batch_[nextInBatch_]);
        if (!half) return failure(half.error());
        if (*half && !BXSyncUtils::isSuspendedFile(**half))
            return failure("POSIX", 0, **half + ": half of a file that can be neither marked nor removed");
    }
    // Without this line the file is looked at once more, no harm done.
    static_cast<void>(append(BXSyncInflightRecord::ended, nextInBatch_));
    underWay_ = false;
    unflushed_ = true;
    ++nextInBatch_;
    return {};
}

Status BXSyncInflight::flush()
{
    if (!unflushed_) return {};
    auto flushed = fs::flushFileSystem(folder_);
    if (flushed) unflushed_ = false;
    return flushed;
}

/// The path and those planned after it, up to one that cannot be looked at.
Result<std::vector<BXSyncInflight::Entry>> BXSyncInflight::nextBatch(const std::string& pathname)
{
    auto state = stateOf(locate_, pathname);
    if (!state) return failure(std::move(state.error()));
    std::vector<Entry> batch{{pathname, std::move(*state)}};
    auto at = std::find(planned_.begin() + static_cast<std::ptrdiff_t>(nextPlanned_), planned_.end(), pathname);
    if (at == planned_.end()) return batch;
    nextPlanned_ = static_cast<std::size_t>(at - planned_.begin());
    for (++at; at != planned_.end() && batch.size() < batchSize; ++at) {
        state = stateOf(locate_, *at);
        if (!state) break;
        batch.push_back({*at, std::move(*state)});
    }
    return batch;
}

Status BXSyncInflight::writeBatch(std::vector<Entry> batch)
{
    if (auto flushed = flush(); !flushed) return flushed;
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

Status BXSyncInflight::append(char what, std::size_t index, const std::string& version)
{
    const auto line = BXSyncInflightRecord::progressLine(what, index, version);
    if (record_ && record_->write(std::as_bytes(std::span(line)))) return {};
    return failure("POSIX", 0, path_ + ": cannot be written");
}

Result<std::vector<std::string>> BXSyncInflight::recover(const std::string& syncinfoPath, const Locate& locate,
                                                         const std::string& systemStart, dates::Seconds startTime)
{
    const auto path = pathFor(syncinfoPath);
    if (const auto found = fs::attributes(path); !found && fs::isAbsence(found.error()))
        return std::vector<std::string>();
    auto text = fs::readFile(path);
    if (!text) return failure(std::move(text.error()));
    std::vector<std::string> treated;
    std::vector<std::string> deleted;
    const auto found = suspects(BXSyncInflightRecord::parse(*text), systemStart);
    for (const auto& entry : found.entries) {
        const auto diskPath = halfFile(locate, entry);
        if (!diskPath) return failure(diskPath.error());
        if (!*diskPath || (!found.includesRecent && isRecent(**diskPath, startTime))) continue;
        treated.push_back(entry.pathname);
        if (markPart(**diskPath, found.version)) continue;
        deleted.push_back(entry.pathname);
        if (auto removed = fs::removeFile(**diskPath); !removed) return failure(std::move(removed.error()));
    }
    if (auto forgotten = forget(syncinfoPath, deleted); !forgotten) return failure(std::move(forgotten.error()));
    if (auto removed = fs::removeFile(path); !removed) return failure(std::move(removed.error()));
    return treated;
}

dates::Seconds BXSyncInflight::currentSystemStartTime()
{
    constexpr std::string_view key = "\nbtime ";
    const auto text = fs::readFile("/proc/stat");
    const auto at = text ? text->find(key) : std::string::npos;
    return at == std::string::npos ? 0 : std::strtod(text->c_str() + at + key.size(), nullptr);
}

std::string BXSyncInflight::currentSystemStart()
{
    auto text = fs::readFile("/proc/sys/kernel/random/boot_id");
    if (!text) return {};
    std::erase_if(*text, [](char c) { return c == '\n' || c == ' '; });
    return *text;
}

} // namespace tidemark
