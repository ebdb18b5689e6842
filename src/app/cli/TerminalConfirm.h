#pragma once

#include <mutex>
#include <optional>

#include "SyncLibrary/BXSyncConfirmInfo.h"
#include "app/cli/CommandContext.h"
#include "app/cli/Commands.h"

namespace tidemark::cli {

/// The answers that were given in advance.
struct ConfirmOptions
{
    std::optional<DeleteAnswer> onDelete = {};
    std::optional<ConflictAnswer> onConflict = {};
    /// Files that fail are skipped on a terminal too.
    bool skipErrors = false;
};

/// Answers the engine's questions: by the options; else by asking on a terminal; else, where nobody can be asked, with
/// the choice that deletes and overwrites nothing. Asked on the engine's threads, one question at a time.
class TerminalConfirm : public BXSyncConfirmDelegate
{
public:
    TerminalConfirm(CommandContext& context, ConfirmOptions options) : context_(context), options_(options) {}

    std::optional<BXSyncConfirmResult> confirm(const BXSyncConfirmInfo& info) override;

    /// A person chose to cancel.
    bool personCancelled() const;

private:
    std::optional<BXSyncConfirmResult> deletion(const BXSyncConfirmInfo& info);
    std::optional<BXSyncConfirmResult> conflict(const BXSyncConfirmInfo& info);
    std::optional<BXSyncConfirmResult> fileError(const BXSyncConfirmInfo& info);
    std::optional<BXSyncConfirmResult> report(const BXSyncConfirmInfo& info);
    BXSyncConfirmResult reconnect(const BXSyncConfirmInfo& info);
    BXSyncConfirmResult ask(const BXSyncConfirmInfo& info);
    BXSyncConfirmResult askOrCancel(const BXSyncConfirmInfo& info, const char* option);

    CommandContext& context_;
    const ConfirmOptions options_;
    mutable std::mutex mutex_; // guards all below
    bool personCancelled_ = false;
};

} // namespace tidemark::cli
