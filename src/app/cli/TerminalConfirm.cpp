#include "app/cli/TerminalConfirm.h"

#include <algorithm>
#include <charconv>

#include "SyncLibrary/BXSyncUtils.h"
#include "app/cli/Cancellation.h"
#include "app/cli/Console.h"
#include "app/cli/Secrets.h"
#include "app/cli/Terminal.h"
#include "platform/Unicode.h"

namespace tidemark::cli {

namespace {

constexpr const char* messages = "TidemarkResource";
constexpr const char* forAll = "!";

/// Return codes of the questions.
namespace deletionCode {
constexpr std::int64_t restore = 0;
constexpr std::int64_t remove = 1;
constexpr std::int64_t nothing = 2;
constexpr std::int64_t cancel = 3;
} // namespace deletionCode
namespace conflictCode {
constexpr std::int64_t recent = 0;
constexpr std::int64_t upload = 1;
constexpr std::int64_t download = 2;
constexpr std::int64_t cancel = 3;
} // namespace conflictCode
constexpr std::int64_t skipCode = 0;
constexpr std::int64_t reconnectCode = 0;
constexpr std::int64_t reconnectCancelCode = 1;

std::string localized(const std::string& key)
{
    return BXSyncUtils::localizeAndReplacementMessage(key, messages, {});
}

/// The message with its names escaped, so that a line end in it is one of the text.
std::string messageText(const BXSyncConfirmInfo& info)
{
    BXSyncUtils::ReplaceMap escaped;
    for (const auto& [name, value] : info.replaceStrings)
        escaped[name] = escapeControls(value);
    auto text = BXSyncUtils::localizeAndReplacementMessage(info.message, messages, escaped);
    std::ranges::replace(text, '\n', ' ');
    return text.empty() ? info.message : text;
}

std::int64_t codeOf(DeleteAnswer answer)
{
    switch (answer) {
    case DeleteAnswer::cancel:
        return deletionCode::cancel;
    case DeleteAnswer::restore:
        return deletionCode::restore;
    case DeleteAnswer::remove:
        return deletionCode::remove;
    case DeleteAnswer::nothing:
        return deletionCode::nothing;
    }
    return deletionCode::cancel;
}

std::int64_t codeOf(ConflictAnswer answer)
{
    switch (answer) {
    case ConflictAnswer::cancel:
        return conflictCode::cancel;
    case ConflictAnswer::recent:
        return conflictCode::recent;
    case ConflictAnswer::upload:
        return conflictCode::upload;
    case ConflictAnswer::download:
        return conflictCode::download;
    }
    return conflictCode::cancel;
}

const BXSyncConfirmChoice* choiceOf(const BXSyncConfirmInfo& info, std::int64_t code)
{
    const auto found = std::ranges::find(info.choices, code, &BXSyncConfirmChoice::returnCode);
    return found == info.choices.end() ? nullptr : &*found;
}

const BXSyncConfirmChoice& cancelChoice(const BXSyncConfirmInfo& info)
{
    const auto found = std::ranges::find(info.choices, "CANCEL", &BXSyncConfirmChoice::title);
    return found == info.choices.end() ? info.choices.front() : *found;
}

/// "1) Cancel  2) Upload"
std::string choicesText(const BXSyncConfirmInfo& info)
{
    std::string text;
    for (std::size_t i = 0; i < info.choices.size(); ++i)
        text += std::to_string(i + 1) + ") " + localized(info.choices[i].title) + "  ";
    if (info.askPersistence) text += std::string("(with ") + forAll + " behind it: for all that follow)  ";
    return text + ">";
}

template <class T>
const T* valueOf(const BXSyncConfirmInfo& info, const char* key)
{
    const auto found = info.otherInfo.find(key);
    return found == info.otherInfo.end() ? nullptr : found->second.get<T>();
}

/// "2026/01/02 10:00:00, 120 bytes"
std::string sideText(const BXSyncConfirmInfo& info, const char* dateKey, const char* sizeKey)
{
    const auto* time = valueOf<dates::Time>(info, dateKey);
    const auto* size = valueOf<std::int64_t>(info, sizeKey);
    auto text = time ? BXSyncUtils::getStringForShow(*time) : std::string("unknown");
    if (size) text += ", " + std::to_string(*size) + " bytes";
    return text;
}

/// "local 2026/01/02 10:00:00, 120 bytes; server …": what a conflict is decided by.
std::string sidesText(const BXSyncConfirmInfo& info)
{
    const auto* missing = valueOf<std::string>(info, BXSyncConfirmInfo::missingPlaceKey);
    const auto server = missing && *missing == "server"
                            ? std::string("deleted")
                            : sideText(info, BXSyncConfirmInfo::serverDateKey, BXSyncConfirmInfo::serverSizeKey);
    return "local " + sideText(info, BXSyncConfirmInfo::localDateKey, BXSyncConfirmInfo::localSizeKey) + "; server " +
           server;
}

/// What "2" or "2!" chooses.
std::optional<BXSyncConfirmResult> chosen(const BXSyncConfirmInfo& info, std::string line)
{
    const bool persists = info.askPersistence && line.ends_with(forAll);
    if (persists) line.pop_back();
    std::size_t number = 0;
    const auto [stop, error] = std::from_chars(line.data(), line.data() + line.size(), number);
    if (error != std::errc{} || stop != line.data() + line.size() || number < 1 || number > info.choices.size())
        return std::nullopt;
    return BXSyncConfirmResult{info.choices[number - 1].returnCode, persists};
}

} // namespace

std::optional<BXSyncConfirmResult> TerminalConfirm::confirm(const BXSyncConfirmInfo& info)
{
    switch (info.type) {
    case BXSyncConfirmType::deletion:
        return deletion(info);
    case BXSyncConfirmType::conflict:
        return conflict(info);
    case BXSyncConfirmType::fileError:
        return fileError(info);
    case BXSyncConfirmType::message:
        return report(info);
    }
    return std::nullopt;
}

bool TerminalConfirm::personCancelled() const
{
    std::lock_guard lock(mutex_);
    return personCancelled_;
}

std::optional<BXSyncConfirmResult> TerminalConfirm::deletion(const BXSyncConfirmInfo& info)
{
    if (!options_.onDelete) return askOrCancel(info, "--on-delete");
    const auto code = codeOf(*options_.onDelete);
    // Doing nothing is possible everywhere; a copy to restore from is where the question says so.
    if (code != deletionCode::nothing && !choiceOf(info, code))
        return askOrCancel(info, "another answer with --on-delete");
    return BXSyncConfirmResult{code, true};
}

std::optional<BXSyncConfirmResult> TerminalConfirm::conflict(const BXSyncConfirmInfo& info)
{
    if (!options_.onConflict) return askOrCancel(info, "--on-conflict");
    return BXSyncConfirmResult{codeOf(*options_.onConflict), true};
}

std::optional<BXSyncConfirmResult> TerminalConfirm::fileError(const BXSyncConfirmInfo& info)
{
    const auto text = messageText(info);
    if (!options_.skipErrors && context_.terminal.isInteractive()) return ask(info);
    context_.console.error(text);
    return BXSyncConfirmResult{skipCode, false};
}

std::optional<BXSyncConfirmResult> TerminalConfirm::report(const BXSyncConfirmInfo& info)
{
    if (info.message == "RECONNECT_MESSAGE") return reconnect(info);
    context_.console.error(messageText(info));
    return BXSyncConfirmResult{info.choices.empty() ? 0 : info.choices.front().returnCode, false};
}

BXSyncConfirmResult TerminalConfirm::reconnect(const BXSyncConfirmInfo& info)
{
    const std::chrono::seconds interval(std::max<std::int64_t>(info.timeout, 0));
    const auto text = "the connection was lost; trying again in " + std::to_string(interval.count()) + " s";
    bool cancelled = false;
    if (context_.terminal.isInteractive()) {
        context_.console.warning(text + " (Return: at once, Ctrl-C: cancel)");
        cancelled = context_.terminal.waitForReturn(interval) == Terminal::Wait::cancelled;
    } else {
        context_.console.warning(text);
        cancelled = context_.cancellation.waitFor(interval);
    }
    return {cancelled ? reconnectCancelCode : reconnectCode, false};
}

BXSyncConfirmResult TerminalConfirm::askOrCancel(const BXSyncConfirmInfo& info, const char* option)
{
    if (context_.terminal.isInteractive()) return ask(info);
    context_.console.error(messageText(info));
    context_.console.error(std::string("nobody can be asked: the run is cancelled; answer with ") + option);
    return {cancelChoice(info).returnCode, false};
}

BXSyncConfirmResult TerminalConfirm::ask(const BXSyncConfirmInfo& info)
{
    context_.console.question(messageText(info));
    if (info.type == BXSyncConfirmType::conflict) context_.console.question(sidesText(info));
    for (;;) {
        const auto line = askLine(context_.console, context_.terminal, choicesText(info));
        const auto& cancel = cancelChoice(info);
        const auto answer = line ? chosen(info, *line) : BXSyncConfirmResult{cancel.returnCode, false};
        if (!answer) continue;
        std::lock_guard lock(mutex_);
        personCancelled_ = personCancelled_ || answer->result == cancel.returnCode;
        return *answer;
    }
}

} // namespace tidemark::cli
