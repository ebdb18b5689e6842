#pragma once

#include <cstdint>
#include <string>

#include "Logger/LogFacade.h"
#include "SyncLibrary/BXSyncCommandRunning.h"
#include "config/BXSyncConf.h"
#include "platform/Url.h"

namespace tidemark {

/// Finds out where an interrupted download can go on.
class BXSyncResume
{
public:
    /// All outlive this.
    BXSyncResume(const BXSyncConf& conf, BXSyncCommandRunning& runner, LogFacade& logger)
        : conf_(conf), runner_(runner), logger_(logger)
    {
    }

    /// -1: this server or transfer knows no resume. 0: from the beginning. Otherwise the file has been cut to that many
    /// bytes, which are the first ones of what the server has as far as a digest of its end tells; asks the server.
    std::int64_t resumeCheck(const Url& url, const std::string& localpath, bool isUpload) const;

private:
    struct Probe;
    Result<Probe> probe(const Url& url, std::int64_t start, std::int64_t size) const;
    std::int64_t cut(const std::string& localpath, std::int64_t end, std::int64_t size) const;

    const BXSyncConf& conf_;
    BXSyncCommandRunning& runner_;
    LogFacade& logger_;
};

} // namespace tidemark
