#pragma once

#include <set>
#include <string>
#include <utility>

namespace tidemark {

class BXSyncConf;
class BXSyncConfigManager;

/// What a person typed in the middle of a run and wants to be kept: it goes into the configuration's file once the
/// server or the proxy has taken it. Main thread.
class KeptCredentials
{
public:
    enum class Of
    {
        server,
        proxy
    };

    /// `store` outlives the object.
    explicit KeptCredentials(BXSyncConfigManager& store) : store_(store) {}

    /// The last answer for a configuration counts.
    void answered(const std::string& name, Of of, bool toBeKept);
    /// A run of the configuration has ended with the credentials in `used`. What was not accepted is forgotten, and so
    /// is what cannot be written because the next run is under way: it asks again.
    void runEnded(const std::string& name, BXSyncConf& used, bool accepted);

private:
    BXSyncConfigManager& store_;
    std::set<std::pair<std::string, Of>> wanted_;
};

} // namespace tidemark
