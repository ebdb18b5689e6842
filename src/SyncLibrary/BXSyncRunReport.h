#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "platform/Result.h"

namespace tidemark {

/// How a run, or a listup alone, has ended.
enum class BXSyncRunOutcome
{
    /// Not ended.
    running,
    /// Every item is done, or there was none; a listup alone: the list is there.
    finished,
    /// The run went through its list and at least one item is not done.
    someItemsFailed,
    /// The changes could not be listed; nothing was transferred or deleted.
    listupFailed,
    /// The same, for want of a connection.
    connectionFailed,
    cancelled,
    /// Ended from inside by an error that is no item's own, or the state could not be saved.
    aborted,
    /// Another run of the configuration is under way; nothing was done.
    alreadyRunning,
};

/// Why an item is not done.
struct BXSyncItemError
{
    /// Message key of the table "TidemarkResource".
    std::string message;
    /// English text of the log.
    std::string log;
};

/// What is told about the items of a run. Written by the run's thread; read by others once the run has ended.
class BXSyncRunReport
{
public:
    void itemFailed(const std::string& pathname, BXSyncItemError error) { errors_[pathname] = std::move(error); }
    /// By pathname.
    const std::map<std::string, BXSyncItemError, std::less<>>& itemErrors() const { return errors_; }

private:
    std::map<std::string, BXSyncItemError, std::less<>> errors_;
};

/// The error of an engine operation: a message key and the text for the log.
Error engineError(std::string messageKey, std::string log);

} // namespace tidemark
