#include "SyncLibrary/BXSyncFileDataInfo.h"

namespace tidemark {

const std::string& BXSyncSharedText::str() const
{
    static const std::string empty;
    return text_ ? *text_ : empty;
}

} // namespace tidemark
