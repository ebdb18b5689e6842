#include "app/KeptCredentials.h"

#include "SyncLibrary/BXSyncRunLock.h"
#include "config/BXSyncConf.h"
#include "config/BXSyncConfigManager.h"
#include "davclient/ASHttpConnectInfo.h"

namespace tidemark {

namespace {

void copyCredentials(ASHttpConnectInfo& to, const ASHttpConnectInfo& from, KeptCredentials::Of of)
{
    switch (of) {
    case KeptCredentials::Of::server:
        to.setIsUseAuthorization(true);
        to.setUsername(from.username());
        to.setPassword(from.password());
        return;
    case KeptCredentials::Of::proxy:
        to.setIsUseProxyAuthorization(true);
        to.setProxyUsername(from.proxyUsername());
        to.setProxyPassword(from.proxyPassword());
        return;
    }
}

} // namespace

void KeptCredentials::answered(const std::string& name, Of of, bool toBeKept)
{
    if (toBeKept)
        wanted_.insert({name, of});
    else
        wanted_.erase({name, of});
}

void KeptCredentials::runEnded(const std::string& name, BXSyncConf& used, bool accepted)
{
    bool isChanged = false;
    // As it is on disk: what else the run knows stays the run's.
    const auto conf = accepted ? store_.get(name, false) : nullptr;
    for (const auto of : {Of::server, Of::proxy}) {
        if (wanted_.erase({name, of}) == 0 || !conf) continue;
        copyCredentials(*conf->info(), *used.info(), of);
        isChanged = true;
    }
    if (!isChanged) return;
    const auto lock = BXSyncRunLock::tryAcquire(conf->syncinfoPath());
    if (lock && *lock) store_.save({{name, conf}});
}

} // namespace tidemark
