#include "SyncLibrary/BXSyncCheckedPaths.h"

namespace tidemark {

BXSyncCheckedPaths::BXSyncCheckedPaths(const std::vector<BXSyncModifiedItem>& items)
{
    for (const auto& item : items)
        paths_.insert(item.relativePath);
}

bool BXSyncCheckedPaths::covers(std::string_view pathname) const
{
    while (!paths_.contains(pathname)) {
        if (pathname.empty()) return false;
        pathname = pathname.substr(0, pathname.rfind('/'));
    }
    return true;
}

} // namespace tidemark
