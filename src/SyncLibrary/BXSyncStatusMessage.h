#pragma once

#include <optional>
#include <string>

#include "platform/Result.h"

namespace tidemark {

/// What a run makes of the answers it gets, as errors with message key and log text. Pure.
namespace BXSyncStatusMessage {

/// A status that a request does not count as success; `url` is the request's absolute URL.
Error refusal(int status, bool hasRefusalExtension, const std::string& url);
/// 500 and 503.
Error serverError(int status, const std::string& url);
Error notConnected(const std::string& url);
/// Ended without an answer, because of a cancel or otherwise; `connectionCode` of the connection's error.
Error disconnected(const std::string& url, bool cancelled, std::optional<std::int64_t> connectionCode);
Error unknown();

} // namespace BXSyncStatusMessage

} // namespace tidemark
