#pragma once

#include <cstdint>
#include <string>

#include "SyncLibrary/BXSyncConfirmInfo.h"
#include "SyncLibrary/BXSyncFileDataInfo.h"
#include "config/BXSyncConf.h"
#include "platform/Result.h"

namespace tidemark::BXSyncQuestions {

/// The questions of a run, ready to be asked. An `error` is one with a message key.

BXSyncConfirmInfo deleteOnServer(const BXSyncFileDataInfo& item, const std::string& filename, SyncMode mode);
BXSyncConfirmInfo deleteLocally(const BXSyncFileDataInfo& item, const std::string& filename, SyncMode mode);
/// What a conflict shows of both sides apart from their dates.
struct ConflictSides
{
    /// Local path and URL, for people.
    std::string localName;
    std::string serverName;
    /// As it was listed; null where it was not.
    const BXSyncFileDataInfo* serverItem = nullptr;
};
/// `item` holds the local size and date and, as the other side's, the server's date.
BXSyncConfirmInfo conflict(const BXSyncFileDataInfo& item, const std::string& filename, const ConflictSides& sides);
/// Codes of the two questions about a single file.
inline constexpr std::int64_t skipCode = 0;
BXSyncConfirmInfo fileFailure(const Error& error, const std::string& filename);
BXSyncConfirmInfo unusableName(const std::string& localpath);
inline constexpr std::int64_t reconnectCode = 0;
BXSyncConfirmInfo reconnect(std::uint64_t intervalSeconds);
/// `error` may be null.
BXSyncConfirmInfo listupFailure(const Error* error);
/// `detail` may be empty.
BXSyncConfirmInfo fatalError(const std::string& detail);

/// The text of the error's message key.
std::string messageText(const Error& error);

} // namespace tidemark::BXSyncQuestions
