#pragma once

#include <string>
#include <vector>

namespace tidemark {

class BXSyncConf;
class BXSyncConfigManager;

/// What a person should know about a configuration that can be saved all the same.
struct ConfigurationWarning
{
    enum class Kind
    {
        /// The local folder is not there yet.
        noLocalFolder,
        /// The local folder holds that of the configuration `other`, lies in it, or is the same.
        overlaps,
        /// A user is given without a password.
        noPassword
    };
    Kind kind;
    std::string other{};

    bool operator==(const ConfigurationWarning&) const = default;
};

std::vector<ConfigurationWarning> configurationWarnings(const BXSyncConf& conf, const BXSyncConfigManager& store);

} // namespace tidemark
