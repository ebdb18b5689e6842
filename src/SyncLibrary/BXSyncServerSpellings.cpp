#include "SyncLibrary/BXSyncServerSpellings.h"

namespace tidemark {

Url BXSyncServerSpellings::urlOf(const Url& root, const std::string& pathname) const
{
    if (urls_.empty()) return root.appendingPath(pathname);
    for (auto end = pathname.size(); end != 0 && end != std::string::npos; end = pathname.rfind('/', end - 1)) {
        const auto found = urls_.find(pathname.substr(0, end));
        if (found != urls_.end()) return found->second.appendingPath(pathname.substr(end));
        if (end == 0) break;
    }
    return root.appendingPath(pathname);
}

} // namespace tidemark
