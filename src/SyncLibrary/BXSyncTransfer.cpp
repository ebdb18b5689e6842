#include "SyncLibrary/BXSyncTransfer.h"

#include <algorithm>
#include <cmath>
#include <regex>

#include "SyncLibrary/BXSyncAbort.h"
#include "SyncLibrary/BXSyncFileWatcher.h"
#include "SyncLibrary/BXSyncStatusMessage.h"
#include "davclient/ASWDCmdGet.h"
#include "davclient/ASWDCmdUpload.h"
#include "security/BXSyncAESInputStream.h"
#include "security/BXSyncAESTool.h"

namespace tidemark {

namespace {

/// While it lives, what happens in the folder is not taken for the user's doing.
class WatcherPause
{
public:
    explicit WatcherPause(BXSyncFileWatcher* watcher) : watcher_(watcher), wasOn_(watcher && watcher->on())
    {
        if (wasOn_) watcher_->setOn(false);
    }
    ~WatcherPause()
    {
        if (wasOn_) watcher_->setOn(true);
    }
    WatcherPause(const WatcherPause&) = delete;
    WatcherPause& operator=(const WatcherPause&) = delete;

private:
    BXSyncFileWatcher* watcher_;
    bool wasOn_;
};

bool isSuccessfulUpload(int status)
{
    return status == 200 || status == 201 || status == 204;
}

bool isSame(const fs::Attributes& a, const fs::Attributes& b)
{
    return a.size == b.size && a.modified == b.modified;
}

bool hasTouched(const ASWDCmd* command)
{
    const auto* download = dynamic_cast<const ASWDCmdGet*>(command);
    return download && download->hasOpenedStream();
}

std::string versionOf(const BXSyncFileDataInfo& serverRecord)
{
    return std::to_string(serverRecord.size) + " " +
           std::to_string(std::llround(serverRecord.fileData.dateLastModified));
}

void notePart(const std::string& target, const BXSyncFileDataInfo* serverRecord)
{
    if (serverRecord)
        static_cast<void>(
            fs::setExtendedAttribute(target, BXSyncUtils::partVersionAttribute, versionOf(*serverRecord)));
}

/// True where nothing is known, too.
bool isPartOf(const std::string& target, const BXSyncFileDataInfo* serverRecord)
{
    const auto noted = fs::extendedAttribute(target, BXSyncUtils::partVersionAttribute);
    return !noted || !serverRecord || *noted == versionOf(*serverRecord);
}

/// The server carries `sent` in whole seconds. Against this record its copy is within the tolerance and any file of
/// another time is not. Nothing where the changed file has the very time that is carried: no record tells the two
/// apart.
std::optional<dates::Seconds> recordOfChangedFile(dates::Seconds sent, dates::Seconds present)
{
    const auto carried = std::floor(sent);
    if (present == carried) return std::nullopt;
    return present >= carried ? carried - BXSyncInspectFile::timeTolerance : carried + BXSyncInspectFile::timeTolerance;
}

} // namespace

/// The file of an upload: where it lies, and what it was when it was last begun to be sent.
struct BXSyncTransfer::Source
{
    std::string diskPath;
    fs::Attributes sent;
    /// Why it could not be read.
    std::optional<Error> error;
};

BXSyncTransfer::BXSyncTransfer(const BXSyncRunContext& context)
    : run_(context), resume_(context.conf, context.runner, context.logger)
{
}

bool BXSyncTransfer::isUnusableOnWindows(const std::string& name)
{
    static const std::regex forbidden(
        R"([\x00-\x1f<>:"/\\|?*]|^(CON|PRN|AUX|NUL|COM[0-9]|LPT[0-9]|CLOCK\$)(\.|$)|[\. ]$)",
        std::regex::ECMAScript | std::regex::icase | std::regex::optimize);
    return std::regex_search(name, forbidden);
}

bool BXSyncTransfer::isUsableName(const std::string& pathname)
{
    if (run_.conf.serverOS() != ServerOS::windows || !isUnusableOnWindows(fs::lastPathComponent(pathname))) return true;
    run_.confirmer.confirmUnusableName(pathname, run_.local.shownPath(pathname));
    finishProgress();
    return false;
}

BXSyncUpload BXSyncTransfer::uploadsub(const std::string& pathname)
{
    const auto url = run_.server.urlOf(pathname);
    run_.logger.info("Uploading file: {}", url.displayString());
    if (!isUsableName(pathname)) return {};
    auto sent = send(pathname, url);
    run_.runner.clearCurrentCmd();
    finishProgress();
    if (!sent) {
        run_.confirmer.confirmError(pathname, sent.error(), url.displayString());
        return {};
    }
    if (!sent->done)
        run_.confirmer.confirmError(
            pathname,
            engineError("LOCALFILE_CHANGED", "The file was changed while it was sent. path:" + url.displayString()),
            url.displayString());
    return *sent;
}

Result<BXSyncUpload> BXSyncTransfer::send(const std::string& pathname, const Url& url)
{
    auto diskPath = run_.local.locate(pathname);
    if (!diskPath) return failure(std::move(diskPath.error()));
    Source source{std::move(*diskPath), {}, {}};
    const auto stored = store(pathname, url, source);
    if (!stored) return failure(source.error.value_or(stored.error()));
    const auto present = fs::attributes(source.diskPath);
    const bool unchanged = present && isSame(*present, source.sent);
    if (unchanged) run_.logger.info("Uploaded file: {}", url.displayString());
    updateProperties(url, source);
    if (unchanged) return BXSyncUpload{true, source.sent.modified};
    return BXSyncUpload{false,
                        recordOfChangedFile(source.sent.modified, present ? present->modified : source.sent.modified)};
}

/// A folder that was deleted on the server, while files in it were changed here, is made again.
Status BXSyncTransfer::store(const std::string& pathname, const Url& url, Source& source)
{
    auto stored = put(url, source);
    if (stored && *stored == BXSyncServerFolder::parentMissing) {
        if (auto made = run_.server.makeParents(pathname); !made) return made;
        stored = put(url, source);
    }
    if (!stored) return failure(stored.error());
    if (*stored != BXSyncServerFolder::parentMissing) return {};
    return failure(BXSyncStatusMessage::refusal(*stored, false, url.absoluteString()));
}

Result<int> BXSyncTransfer::put(const Url& url, Source& source)
{
    const auto factory = [&]() -> std::shared_ptr<ASWDCmd> {
        auto present = run_.local.readableFile(source.diskPath);
        source.error = present ? std::nullopt : std::optional(present.error());
        if (present && BXSyncUtils::isSuspendedFile(source.diskPath))
            source.error = engineError("LOCALFILE_INCOMPLETE",
                                       "The file is the part of an interrupted download. path:" + source.diskPath);
        if (source.error) return nullptr;
        source.sent = *present;
        auto command = std::make_shared<ASWDCmdPut>(url, run_.conf.info());
        command->setEncryptKey(run_.conf.encryptKey());
        command->setModifiedDate(dates::fromSeconds(source.sent.modified));
        command->setFileLength(source.sent.size);
        command->setSentBytes(resume_.resumeCheck(url, source.diskPath, true));
        command->setFilePath(source.diskPath);
        command->setSendsContentRange(!run_.conf.marlockVersion().empty());
        showCommand(command);
        return command;
    };
    const auto done = run_.runner.davConnect(factory, [](ASWDCmd&, int status) {
        return isSuccessfulUpload(status) || status == BXSyncServerFolder::parentMissing;
    });
    if (!done) return failure(done.error());
    return (*done)->statusCode();
}

void BXSyncTransfer::updateProperties(const Url& url, const Source& source)
{
    BXSyncUtils::PropertyMap properties;
    if (!run_.conf.encryptKey().empty())
        properties["encryptsha"] = BXSyncAESTool::keyCheckValue(run_.conf.encryptKey());
    if (run_.conf.marlockVersion().empty())
        properties["SyncDate"] = BXSyncUtils::lastmodifiedDateStringFromDate(dates::fromSeconds(source.sent.modified));
    const auto set = run_.server.setProperties(url, properties);
    if (!set) run_.logger.error("{}", set.error().value(BXSyncCommandRunning::logKey));
}

bool BXSyncTransfer::downloadsub(const std::string& pathname, const BXSyncFileDataInfo* serverRecord)
{
    const auto url = run_.server.urlOf(pathname);
    const auto shown = run_.local.shownPath(pathname);
    run_.logger.info("Downloading file: {}", shown);
    const auto fetched = fetch(pathname, url, serverRecord);
    run_.runner.clearCurrentCmd();
    finishProgress();
    if (!fetched) {
        run_.confirmer.confirmError(pathname, fetched.error(), url.displayString());
        return false;
    }
    run_.logger.info("Downloaded file: {}", shown);
    return true;
}

Status BXSyncTransfer::fetch(const std::string& pathname, const Url& url, const BXSyncFileDataInfo* serverRecord)
{
    if (serverRecord && (serverRecord->state & SyncState::folder) != 0)
        return failure(
            engineError("SERVERFILE_OBSTRUCTED",
                        "There is a folder on the server in place of the file. path:" + url.displayString()));
    if (serverRecord && SyncState::kind(serverRecord->state) == SyncState::suspended)
        return failure(engineError("SERVERFILE_INCOMPLETE",
                                   "The file on the server is the part of an upload. path:" + url.displayString()));
    const WatcherPause pause(run_.fileWatcher);
    const auto target = run_.local.prepareTarget(pathname);
    if (!target) return failure(target.error());
    const auto version = serverRecord ? versionOf(*serverRecord) : std::string();
    if (auto recorded = run_.inflight.begin(pathname, version); !recorded)
        return failure(engineError("LOCALFILE_UNWRITABLE", recorded.error().description()));
    bool isTheirs = false;
    auto fetched = fetchInto(*target, pathname, url, serverRecord, isTheirs);
    if (auto settled = run_.inflight.end(fetched.has_value() || isTheirs); !settled)
        throw BXSyncAbort(BXSyncAbort::error, std::move(settled.error()));
    return fetched;
}

/// `isTheirs`: a person has changed the target between two attempts; it stays as it is.
Status BXSyncTransfer::fetchInto(const std::string& target, const std::string& pathname, const Url& url,
                                 const BXSyncFileDataInfo* serverRecord, bool& isTheirs)
{
    std::shared_ptr<ASWDCmd> last;
    Status mayWrite;
    const auto factory = [&]() -> std::shared_ptr<ASWDCmd> {
        // Between two attempts a person may have had minutes for changes of their own.
        if (last) mayWrite = checkTarget(target, pathname, *last);
        if (!mayWrite) return nullptr;
        return last = makeDownload(url, target, last.get(), serverRecord);
    };
    const auto fetched =
        run_.runner.davConnect(factory, [](ASWDCmd&, int status) { return status == 200 || status == 206; });
    isTheirs = !mayWrite;
    if (isTheirs) return mayWrite;
    if (hasTouched(last.get())) notePart(target, serverRecord);
    if (!fetched) return failure(fetched.error());
    if (!isWhole(**fetched, target, serverRecord)) {
        if (!BXSyncUtils::addSuspendFlag(target)) static_cast<void>(fs::removeFile(target));
        return failure(engineError("CONNECTION_ERROR", "The response is not as long as the file on the server. path:" +
                                                           url.absoluteString()));
    }
    BXSyncUtils::removeSuspendFlag(target);
    static_cast<void>(fs::removeExtendedAttribute(target, BXSyncUtils::partVersionAttribute));
    if (serverRecord) settleTime(target, *serverRecord);
    return {};
}

/// Whether the target is still what the failed attempt `before` has found or left.
Status BXSyncTransfer::checkTarget(const std::string& target, const std::string& pathname, const ASWDCmd& before) const
{
    if (!hasTouched(&before)) {
        const auto prepared = run_.local.prepareTarget(pathname);
        return prepared ? Status() : failure(prepared.error());
    }
    // The attempt has marked its part where it could.
    if (BXSyncUtils::isSuspendedFile(target) || !BXSyncUtils::addSuspendFlag(target)) return {};
    BXSyncUtils::removeSuspendFlag(target);
    return failure(engineError("LOCALFILE_CHANGED", "The file was changed while it was downloaded. path:" + target));
}

/// `before` is the execution that failed, or null. What it has written is a part to go on from.
std::shared_ptr<ASWDCmd> BXSyncTransfer::makeDownload(const Url& url, const std::string& target, const ASWDCmd* before,
                                                      const BXSyncFileDataInfo* serverRecord)
{
    if (hasTouched(before)) {
        BXSyncUtils::addSuspendFlag(target);
        notePart(target, serverRecord);
    }
    const std::int64_t offset = isPartOf(target, serverRecord) ? resume_.resumeCheck(url, target, false) : 0;
    auto command = std::make_shared<ASWDCmdGet>(url, run_.conf.info());
    command->setLocalFile(target);
    command->setEncryptKey(run_.conf.encryptKey());
    command->setSentBytes(std::max<std::int64_t>(offset, 0));
    showCommand(command);
    return command;
}

/// Where a response tells no length of its own, the end of the connection looks like the end of the file, and a part
/// tells only its own length: the length that was listed decides.
bool BXSyncTransfer::isWhole(const ASWDCmd& command, const std::string& target,
                             const BXSyncFileDataInfo* serverRecord) const
{
    const auto& header = command.responseHeader()->header;
    const bool tellsLength = header.contains("Content-Length") || header.contains("Transfer-Encoding");
    if (!serverRecord || (tellsLength && command.statusCode() != 206)) return true;
    const auto present = fs::attributes(target);
    if (!present) return false;
    const bool encrypted = !run_.conf.encryptKey().empty();
    return serverRecord->size == (encrypted ? BXSyncAESInputStream::encryptedLength(present->size) : present->size);
}

/// Both sides are to carry one time. A product server's answer has set it already, unless it told another than its
/// listing did.
void BXSyncTransfer::settleTime(const std::string& target, const BXSyncFileDataInfo& serverRecord) const
{
    const auto listed = serverRecord.fileData.dateLastModified;
    const auto present = fs::attributes(target);
    const bool settled = !run_.conf.marlockVersion().empty() && present &&
                         std::abs(present->modified - listed) <= BXSyncInspectFile::timeTolerance;
    if (settled) return;
    if (const auto set = fs::setModified(target, listed); !set)
        run_.logger.error("The time cannot be set. {}", set.error().description());
}

void BXSyncTransfer::showCommand(const std::shared_ptr<ASWDCmd>& command)
{
    run_.progress.setThread(command);
    run_.progress.update();
}

void BXSyncTransfer::finishProgress()
{
    run_.progress.finish();
    run_.progress.update();
}

} // namespace tidemark
