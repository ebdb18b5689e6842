#include "SyncLibrary/BXSyncRunReport.h"

#include "SyncLibrary/BXSyncCommandRunning.h"

namespace tidemark {

Error engineError(std::string messageKey, std::string log)
{
    return Error{
        BXSyncCommandRunning::errorDomain,
        -1,
        {{BXSyncCommandRunning::messageKey, std::move(messageKey)}, {BXSyncCommandRunning::logKey, std::move(log)}}};
}

} // namespace tidemark
