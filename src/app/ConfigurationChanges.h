#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <tuple>

namespace tidemark {

class BXSyncConfigManager;

/// Notices what other programs change in the store's directory, and takes it up. One thread.
class ConfigurationChanges
{
public:
    /// What is on disk now counts as known.
    explicit ConfigurationChanges(BXSyncConfigManager& store);

    /// Loads what is new or different and drops what is gone; true when there was anything.
    bool takeUp();
    /// Loads everything again; folders that could not be watched are tried again.
    void reload();

private:
    /// Inode, size and time: a file that is replaced whole always differs in one of them.
    using Signature = std::tuple<std::uint64_t, std::int64_t, std::int64_t>;
    using Signatures = std::map<std::string, Signature>;
    Signatures scan() const;

    BXSyncConfigManager& store_;
    Signatures known_;
};

} // namespace tidemark
