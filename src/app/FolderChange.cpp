#include "app/FolderChange.h"

#include "SyncLibrary/BXSyncInflight.h"
#include "config/BXSyncConf.h"
#include "platform/FileSystem.h"

namespace tidemark {

Status leaveFolder(const BXSyncConf& conf, const std::string& formerFolder)
{
    if (formerFolder.empty() || formerFolder == conf.localPath() || !fs::isFolder(formerFolder)) return {};
    const auto locate = [&](const std::string& pathname) { return fs::resolve(formerFolder, pathname); };
    if (auto settled = BXSyncInflight::recover(conf.syncinfoPath(), locate); !settled)
        return failure(std::move(settled.error()));
    return {};
}

} // namespace tidemark
