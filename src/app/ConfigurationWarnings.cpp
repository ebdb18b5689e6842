#include "app/ConfigurationWarnings.h"

#include "app/ConfigurationInput.h"
#include "config/BXSyncConfigManager.h"
#include "platform/FileSystem.h"

namespace tidemark {

namespace {

bool overlap(const std::string& a, const std::string& b)
{
    return isAtOrBelow(a, b) || isAtOrBelow(b, a);
}

} // namespace

std::vector<ConfigurationWarning> configurationWarnings(const BXSyncConf& conf, const BXSyncConfigManager& store)
{
    using Kind = ConfigurationWarning::Kind;
    std::vector<ConfigurationWarning> warnings;
    if (!fs::isFolder(conf.localPath())) warnings.push_back({Kind::noLocalFolder});
    for (const auto& [name, other] : store.configs())
        if (other->identity() != conf.identity() && overlap(conf.localPath(), other->localPath()))
            warnings.push_back({Kind::overlaps, name});
    const auto& info = *conf.info();
    if (info.isUseAuthorization() && info.password().empty()) warnings.push_back({Kind::noPassword});
    return warnings;
}

} // namespace tidemark
