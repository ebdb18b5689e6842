#pragma once

#include <string>

#include "platform/Result.h"

namespace tidemark {

class BXSyncConf;

/// Before a configuration turns to another local folder: settles what a run that died has left half done in the former
/// one, so that no later run looks for it in the new folder. A former folder that is not there may have been moved:
/// what is known of it then holds for the new one, and stays. The caller keeps runs away.
Status leaveFolder(const BXSyncConf& conf, const std::string& formerFolder);

} // namespace tidemark
