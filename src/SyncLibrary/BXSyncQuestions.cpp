#include "SyncLibrary/BXSyncQuestions.h"

#include <algorithm>
#include <limits>

#include "SyncLibrary/BXSyncCommandRunning.h"
#include "SyncLibrary/BXSyncUtils.h"

namespace tidemark::BXSyncQuestions {

namespace {

constexpr const char* table = "TidemarkResource";

std::string localized(const char* key)
{
    return BXSyncUtils::localizeAndReplacementMessage(key, table, {});
}

std::string typeText(const BXSyncFileDataInfo& item)
{
    return localized(item.size < 0 ? "DIRECTORY" : "FILE");
}

BXSyncConfirmInfo question(BXSyncConfirmType type, const char* message, std::vector<BXSyncConfirmChoice> choices)
{
    BXSyncConfirmInfo info;
    info.type = type;
    info.message = message;
    info.choices = std::move(choices);
    return info;
}

BXSyncConfirmInfo deletion(const char* message, BXSyncConfirmChoice alternative, const BXSyncFileDataInfo& item,
                           const std::string& filename)
{
    auto info = question(BXSyncConfirmType::deletion, message, {{"CANCEL", 3}, std::move(alternative), {"DELETE", 1}});
    info.askPersistence = true;
    info.replaceStrings = {{"type", typeText(item)}, {"filename", filename}};
    return info;
}

void addSides(PropertyList::Dictionary& otherInfo, const BXSyncFileDataInfo& item, const ConflictSides& sides)
{
    otherInfo[BXSyncConfirmInfo::localNameKey] = sides.localName;
    otherInfo[BXSyncConfirmInfo::serverNameKey] = sides.serverName;
    if (item.size >= 0) otherInfo[BXSyncConfirmInfo::localSizeKey] = item.size;
    if (!sides.serverItem) return;
    if (SyncState::kind(sides.serverItem->state) == SyncState::deleted)
        otherInfo[BXSyncConfirmInfo::missingPlaceKey] = "server";
    else if (sides.serverItem->size >= 0)
        otherInfo[BXSyncConfirmInfo::serverSizeKey] = sides.serverItem->size;
}

BXSyncConfirmInfo notice(const char* message)
{
    return question(BXSyncConfirmType::message, message, {{"OK", 0}});
}

} // namespace

BXSyncConfirmInfo deleteOnServer(const BXSyncFileDataInfo& item, const std::string& filename, SyncMode mode)
{
    auto alternative =
        mode == SyncMode::uploadOnly ? BXSyncConfirmChoice{"DO_NOTHING", 2} : BXSyncConfirmChoice{"DOWNLOAD", 0};
    return deletion("DELETE_SERVER", std::move(alternative), item, filename);
}

BXSyncConfirmInfo deleteLocally(const BXSyncFileDataInfo& item, const std::string& filename, SyncMode mode)
{
    auto alternative =
        mode == SyncMode::downloadOnly ? BXSyncConfirmChoice{"DO_NOTHING", 2} : BXSyncConfirmChoice{"UPLOAD", 0};
    return deletion("DELETE_LOCAL", std::move(alternative), item, filename);
}

BXSyncConfirmInfo conflict(const BXSyncFileDataInfo& item, const std::string& filename, const ConflictSides& sides)
{
    const auto local = item.fileData.dateLastModified;
    const auto server = item.oldDateLastModified;
    auto info = question(BXSyncConfirmType::conflict, "FILE_CONFILCT",
                         {{"RECENT_FILE", 0}, {"UPLOAD", 1}, {"DOWNLOAD", 2}, {"CANCEL", 3}});
    info.askPersistence = true;
    info.replaceStrings = {{"filename", filename}, {"type", typeText(item)}};
    info.otherInfo[BXSyncConfirmInfo::recentPlaceKey] = server > local ? "server" : "local";
    info.otherInfo[BXSyncConfirmInfo::serverDateKey] = dates::fromSeconds(server);
    info.otherInfo[BXSyncConfirmInfo::localDateKey] = dates::fromSeconds(local);
    addSides(info.otherInfo, item, sides);
    return info;
}

BXSyncConfirmInfo fileFailure(const Error& error, const std::string& filename)
{
    auto info = question(BXSyncConfirmType::fileError, "SYNCFILE_FAILURE", {{"CANCEL", 1}, {"SKIP", skipCode}});
    info.replaceStrings = {{"filename", filename}, {"error", messageText(error)}};
    return info;
}

BXSyncConfirmInfo unusableName(const std::string& localpath)
{
    auto info = question(BXSyncConfirmType::fileError, "UPLOAD_UNUSABLE_NAME", {{"CANCEL", 1}, {"SKIP", skipCode}});
    info.replaceStrings = {{"localpath", localpath}};
    return info;
}

BXSyncConfirmInfo reconnect(std::uint64_t intervalSeconds)
{
    constexpr std::uint64_t longest = std::numeric_limits<std::int32_t>::max();
    auto info =
        question(BXSyncConfirmType::message, "RECONNECT_MESSAGE", {{"RECONNECT_NOW", reconnectCode}, {"CANCEL", 1}});
    info.timeout = static_cast<std::int64_t>(std::min(intervalSeconds, longest));
    info.otherInfo[BXSyncConfirmInfo::titleKey] = "RECONNECT_TITLE";
    info.otherInfo[BXSyncConfirmInfo::timeoutReturnKey] = reconnectCode;
    return info;
}

BXSyncConfirmInfo listupFailure(const Error* error)
{
    auto info = notice("SYNCFILELISTUP_FAILURE");
    if (error != nullptr && !error->value(BXSyncCommandRunning::messageKey).empty())
        info.replaceStrings["error"] = messageText(*error);
    return info;
}

BXSyncConfirmInfo fatalError(const std::string& detail)
{
    if (detail.empty()) return notice("SYNC_ERROR");
    auto info = notice("SYNC_ERROR_DETAIL");
    info.replaceStrings["errordetail"] = detail;
    return info;
}

std::string messageText(const Error& error)
{
    return BXSyncUtils::localizeAndReplacementMessage(error.value(BXSyncCommandRunning::messageKey), table, {});
}

} // namespace tidemark::BXSyncQuestions
