#include "SyncLibrary/BXSyncModifiedItem.h"

namespace tidemark {

std::string BXSyncModifiedItem::description() const
{
    switch (modifiedType) {
    case create:
        return "Create:" + path;
    case update:
        return "Update:" + path;
    case deletion:
        return "Delete:" + path;
    default:
        return path;
    }
}

} // namespace tidemark
