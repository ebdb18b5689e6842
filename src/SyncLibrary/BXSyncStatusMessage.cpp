#include "SyncLibrary/BXSyncStatusMessage.h"

#include "SyncLibrary/BXSyncRunReport.h"

namespace tidemark::BXSyncStatusMessage {

Error refusal(int status, bool hasRefusalExtension, const std::string& url)
{
    switch (status) {
    case 403:
        if (hasRefusalExtension) return engineError("SERVERFILE_REFUSAL_EXTENSION", "Upload refusal extension file.");
        return engineError("SERVERFILE_READONLY",
                           "The returned status is Forbidden. May be Read Only File. path:" + url);
    case 413:
        return engineError("EXCEEDS_SIZE_PERFILE", "It exceeds the size per file.");
    case 415:
        return engineError("VIRUS_DETECTED", "Virus detected.");
    case 423:
        return engineError("SERVERFILE_LOCK", "Locked file.");
    case 507:
        return engineError("INSUFFICIENT_STORAGE", "Over capacity of storage.");
    default:
        return engineError("RETURN_STATUS_ERROR", "The returned status is a unexpected. path:" + url +
                                                      " statuscode:" + std::to_string(status));
    }
}

Error serverError(int status, const std::string& url)
{
    return engineError("SERVER_ERROR",
                       "The returned status is a server error. path:" + url + " statuscode:" + std::to_string(status));
}

Error notConnected(const std::string& url)
{
    return engineError("CONNECTION_ERROR", "Failed to connect to the server. path:" + url);
}

Error disconnected(const std::string& url, bool cancelled, std::optional<std::int64_t> connectionCode)
{
    if (cancelled) return engineError("CONNECTION_ERROR", "Opration cancel. path:" + url);
    auto log = "The connection with the server has been disconnected. path:" + url;
    if (connectionCode) log += " errorcode:" + std::to_string(*connectionCode);
    return engineError("CONNECTION_ERROR", std::move(log));
}

Error unknown()
{
    return engineError("UNKNOWN_ERROR", "An error occurred on the server connection.");
}

} // namespace tidemark::BXSyncStatusMessage
