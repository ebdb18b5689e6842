#include "SyncLibrary/BXSyncCommandRunner.h"

#include <algorithm>
#include <chrono>
#include <optional>

#include "Logger/LogFacade.h"
#include "SyncLibrary/BXSyncQuestions.h"
#include "SyncLibrary/BXSyncRunReport.h"
#include "SyncLibrary/BXSyncStatusMessage.h"
#include "SyncLibrary/BXSyncUtils.h"
#include "davclient/ASWDCmdGet.h"
#include "davclient/ASWDCmdUpload.h"
#include "platform/FileSystem.h"
#include "platform/RunLoop.h"

namespace tidemark {

namespace {

/// What went wrong on this side of the connection, where trying again is of no use.
std::optional<Error> localFailure(const ASWDCmd& command)
{
    const auto text = [&] { return command.error() ? command.error()->description() : std::string(); };
    if (const auto* download = dynamic_cast<const ASWDCmdGetStream*>(&command)) {
        const auto* stream = download->responseStream();
        if (stream && stream->streamError()) return engineError("LOCALFILE_UNWRITABLE", text());
    }
    if (command.error() && command.error()->code == ASWDCmd::requestStreamNotCreated)
        return engineError("LOCALFILE_UNREADABLE", text());
    const auto connection = command.connection();
    if (connection && connection->getRequestStreamError() &&
        connection->getRequestStreamError()->kind == HttpStreamFailure::bodyShorterThanAnnounced)
        return engineError("LOCALFILE_CHANGED",
                           "The file was changed while it was sent. path:" + command.remoteURL().absoluteString());
    return std::nullopt;
}

Error disconnection(const ASWDCmd& command, bool cancelled)
{
    const auto connection = command.connection();
    std::optional<std::int64_t> code;
    if (connection && connection->error()) code = connection->error()->code;
    return BXSyncStatusMessage::disconnected(command.remoteURL().absoluteString(), cancelled, code);
}

Error refusal(const ASWDCmd& command)
{
    const auto* head = command.responseHeader();
    const bool hasExtension = head && head->header.contains("X-BX-REFUSAL-EXTENSION");
    return BXSyncStatusMessage::refusal(command.statusCode(), hasExtension, command.remoteURL().absoluteString());
}

} // namespace

/// What the executions of one request have come to.
struct BXSyncCommandRunner::Attempts
{
    /// Of the last failure.
    std::optional<Error> error;
    bool mayReconnect = true;
    std::int64_t retries = -1;
    /// The local file that a download has begun to write.
    std::string touchedFile;
    bool isMarked = false;

    /// As soon as an attempt has failed: what a person makes of the file afterwards is theirs.
    void markPart() { isMarked = !touchedFile.empty() && BXSyncUtils::addSuspendFlag(touchedFile); }

    /// The file is kept for a resume where it can be marked; unmarked it would pass for a whole one.
    Error fail() const
    {
        if (!touchedFile.empty() && !isMarked && !BXSyncUtils::addSuspendFlag(touchedFile))
            static_cast<void>(fs::removeFile(touchedFile));
        return error.value_or(BXSyncStatusMessage::unknown());
    }
};

BXSyncCommandRunner::BXSyncCommandRunner(std::function<BXSyncReconnectRule()> rule, std::shared_ptr<LogFacade> logger)
    : rule_(std::move(rule)), logger_(std::move(logger))
{
}

BXSyncCommandRunner::~BXSyncCommandRunner() = default;

Result<std::shared_ptr<ASWDCmd>> BXSyncCommandRunner::davConnect(const CommandFactory& factory,
                                                                 const AcceptStatus& accept)
{
    const auto rule = rule_();
    Attempts attempts;
    for (auto command = factory(); command && admit(command); command = factory()) {
        if (run(*command, attempts)) {
            if (accept(*command, command->statusCode())) {
                lastErrorMessage_.clear();
                return command;
            }
            attempts.error = refusal(*command);
            break;
        }
        attempts.markPart();
        if (!mayRetry(rule, attempts)) break;
        logger_->error("{}", attempts.error->value(logKey));
        logger_->info("Reconnect...");
    }
    auto error = attempts.fail();
    lastErrorMessage_ = error.value(messageKey);
    return failure(std::move(error));
}

/// False after a cancel. A cancel that comes later finds the command.
bool BXSyncCommandRunner::admit(const std::shared_ptr<ASWDCmd>& command)
{
    std::lock_guard lock(mutex_);
    currentCmd_ = command;
    return !cancelFlg_;
}

bool BXSyncCommandRunner::run(ASWDCmd& command, Attempts& attempts)
{
    const bool executed = execute(command, attempts);
    if (const auto* download = dynamic_cast<const ASWDCmdGet*>(&command))
        if (download->hasOpenedStream()) attempts.touchedFile = download->localFile();
    if (!executed) return false;
    const int status = command.statusCode();
    if (command.error() || status == 0) {
        noteFailure(command, attempts);
        return false;
    }
    if (status != 500 && status != 503) return true;
    attempts.error = BXSyncStatusMessage::serverError(status, command.remoteURL().absoluteString());
    if (status == 500) attempts.mayReconnect = false;
    return false;
}

bool BXSyncCommandRunner::execute(ASWDCmd& command, Attempts& attempts)
{
    bool completed = command.executedHandler();
    const bool isSent = completed || command.isRunning();
    if (!completed) command.setCompleteEventHandler([&completed] { completed = true; });
    if (!isSent && !command.execute()) {
        const auto local = localFailure(command);
        attempts.error = local.value_or(BXSyncStatusMessage::notConnected(command.remoteURL().absoluteString()));
        if (local) attempts.mayReconnect = false;
        return false;
    }
    RunLoop::current()->runUntil([&completed] { return completed; });
    return true;
}

void BXSyncCommandRunner::noteFailure(const ASWDCmd& command, Attempts& attempts) const
{
    if (const auto local = cancelFlg_ ? std::nullopt : localFailure(command)) {
        attempts.error = local;
        attempts.mayReconnect = false;
    } else {
        attempts.error = disconnection(command, cancelFlg_);
    }
}

bool BXSyncCommandRunner::mayRetry(const BXSyncReconnectRule& rule, Attempts& attempts)
{
    if (!rule.reconnect || !attempts.mayReconnect || cancelFlg_) return false;
    ++attempts.retries;
    if (std::cmp_less_equal(rule.limit, attempts.retries)) return false;
    if (isReconnectWanted(rule)) return true;
    setCancelFlg(true);
    return false;
}

bool BXSyncCommandRunner::isReconnectWanted(const BXSyncReconnectRule& rule)
{
    if (confirmDelegate_ == nullptr) {
        waitInterval(rule.interval);
        return true;
    }
    const auto answer = confirmDelegate_->confirm(BXSyncQuestions::reconnect(rule.interval));
    return !answer || answer->result == BXSyncQuestions::reconnectCode;
}

void BXSyncCommandRunner::waitInterval(std::uint64_t seconds)
{
    constexpr std::uint64_t longest = 7 * 24 * 3600;
    std::unique_lock lock(mutex_);
    cancelled_.wait_for(lock, std::chrono::seconds(std::min(seconds, longest)), [this] { return cancelFlg_.load(); });
}

void BXSyncCommandRunner::setCancelFlg(bool value)
{
    std::shared_ptr<ASWDCmd> running;
    {
        std::lock_guard lock(mutex_);
        cancelFlg_ = value;
        if (value) running = currentCmd_;
    }
    cancelled_.notify_all();
    if (running) running->cancel();
}

std::shared_ptr<ASWDCmd> BXSyncCommandRunner::currentCmd() const
{
    std::lock_guard lock(mutex_);
    return currentCmd_;
}

void BXSyncCommandRunner::clearCurrentCmd()
{
    std::shared_ptr<ASWDCmd> finished;
    std::lock_guard lock(mutex_);
    finished.swap(currentCmd_);
}

} // namespace tidemark
