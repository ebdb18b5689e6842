#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/PropertyList.h"

namespace tidemark {

/// One button of a question.
struct BXSyncConfirmChoice
{
    /// Message key.
    std::string title;
    /// What choosing it gives back.
    std::int64_t returnCode = 0;

    static BXSyncConfirmChoice createTitle(std::string title, std::int64_t code) { return {std::move(title), code}; }
};

enum class BXSyncConfirmType : int
{
    deletion = 0,
    conflict = 1,
    /// One file failed: skip it or end the run.
    fileError = 2,
    /// A message, or the wait for a reconnection.
    message = 3
};

/// A question that a run asks.
struct BXSyncConfirmInfo
{
    // Keys of otherInfo.
    /// Message key of the window's title.
    static constexpr const char* titleKey = "TITLE";
    /// Integer: the answer when the countdown ends.
    static constexpr const char* timeoutReturnKey = "TIMEOUT_RETURN";
    /// "server" or "local": the side with the later date. Conflicts only, like the dates of both sides.
    static constexpr const char* recentPlaceKey = "recent_place";
    static constexpr const char* serverDateKey = "serverdate";
    static constexpr const char* localDateKey = "localdate";
    /// What people know both sides of a conflict by: the local path and the URL.
    static constexpr const char* localNameKey = "localname";
    static constexpr const char* serverNameKey = "servername";
    /// Integers, bytes; absent where a side has no file or has not told.
    static constexpr const char* localSizeKey = "localsize";
    static constexpr const char* serverSizeKey = "serversize";
    /// "server" where the file is no longer there: its date is the one that it last had.
    static constexpr const char* missingPlaceKey = "missing_place";

    BXSyncConfirmType type = BXSyncConfirmType::message;
    /// Message key of the body, in the table "TidemarkResource".
    std::string message;
    /// In the order in which they are shown.
    std::vector<BXSyncConfirmChoice> choices;
    /// Offer to take the answer for all remaining items of the run.
    bool askPersistence = false;
    /// Seconds of the countdown; 0 or less: none.
    std::int64_t timeout = 0;
    /// Texts for the placeholders of the body.
    std::map<std::string, std::string> replaceStrings;
    PropertyList::Dictionary otherInfo;
};

struct BXSyncConfirmResult
{
    /// The chosen choice's returnCode.
    std::int64_t result = 0;
    /// The answer stands for all remaining items of the run.
    bool persistence = false;
};

/// Answers a run's questions. Called on a thread of the run, which waits for the answer; a run asks one question at a
/// time.
class BXSyncConfirmDelegate
{
public:
    virtual ~BXSyncConfirmDelegate() = default;
    /// Nothing: there is no answer, and the run does what it does without one.
    virtual std::optional<BXSyncConfirmResult> confirm(const BXSyncConfirmInfo& info) = 0;
};

} // namespace tidemark
