#include <string_view>

#include "Logger/BXLogger.h"
#include "Utils/BXTidemarkUtils.h"
#include "config/BXSyncConfigManager.h"
#include "config/ConfigurationFile.h"
#include "davclient/ASHttpConnectInfo.h"
#include "platform/FileSystem.h"
#include "platform/Unicode.h"

namespace tidemark {

namespace {

constexpr int writeAttempts = 3;
constexpr std::string_view configExtension = ".xml";
constexpr std::string_view syncInfoExtension = ".psi";
constexpr std::string_view lockSuffix = ".lock";
constexpr std::string_view discardedSuffix = ".discarded";

/// Other text could not be read back, and would be taken for none.
bool secretsAreText(const BXSyncConf& conf)
{
    return isUtf8(conf.encryptKey()) && isUtf8(conf.info()->password()) && isUtf8(conf.info()->proxyPassword());
}

} // namespace

/// What one save has done so far and what is left for its end.
struct BXSyncConfigManager::Batch
{
    struct Move
    {
        std::string from;
        std::string to;
    };

    /// Discarded sync-info files, set aside.
    std::vector<std::string> toRemove;
    std::vector<std::string> failed;
    /// Of the configuration that is being saved.
    std::vector<Move> moves;
};

// Invariant: at every moment a configuration that was on disk before the save is there under its old or its new name,
// and no configuration finds a sync-info file that is not its own. So a new name is written before the old one is
// deleted, and a sync-info file goes before its configuration does.

std::vector<std::string> BXSyncConfigManager::save(const Changes& changes)
{
    Batch batch;
    std::vector<std::string> undeleted;
    for (const auto& [name, conf] : changes)
        if (conf) saveOne(name, *conf, batch);
    for (const auto& path : batch.toRemove)
        (void)fs::removeFile(path);
    for (const auto& [name, conf] : changes)
        if (!conf && batch.failed.empty() && !deleteOne(name)) undeleted.push_back(name);
    batch.failed.insert(batch.failed.end(), undeleted.begin(), undeleted.end());
    return batch.failed;
}

void BXSyncConfigManager::saveOne(const std::string& name, BXSyncConf& conf, Batch& batch)
{
    const auto removals = batch.toRemove.size();
    const auto syncInfo = conf.syncinfoPath();
    batch.moves.clear();
    const auto written = storeOne(name, conf, batch);
    if (!written) {
        batch.toRemove.resize(removals);
        for (const auto& move : batch.moves)
            (void)fs::rename(move.to, move.from);
        conf.setSyncinfoPath(syncInfo);
        batch.failed.push_back(name);
        BXLogger::globalError("The configuration can not be saved.:" + written.error().description());
        BXTidemarkUtils::showErrorAlert("CONFIG_SAVE_FAILURE");
    }
    cacheConfig(get(name, false), name);
}

Status BXSyncConfigManager::storeOne(const std::string& name, BXSyncConf& conf, Batch& batch) const
{
    if (auto checked = checkName(name); !checked) return checked;
    if (!secretsAreText(conf))
        return failure(ConfigurationFile::errorDomain, ConfigurationFile::notStorable,
                       "Passwords and keys have to be UTF-8 text.");
    const bool renamed = !conf.syncinfoPath().empty() && conf.syncinfoPath() != syncInfoPath(name);
    if (renamed && fs::exists(configFilePath(name)))
        return failure(ConfigurationFile::errorDomain, ConfigurationFile::invalidName, "The name is taken.");
    if (auto placed = placeSyncInfo(name, conf, batch); !placed) return placed;
    conf.setName(name);
    return writeConf(name, conf);
}

/// Sets the sync-info file aside where it is to be discarded, before the configuration is written, or moves it to the
/// configuration's name. What is kept beside it says which files of the local folder are incomplete, and stays.
Status BXSyncConfigManager::placeSyncInfo(const std::string& name, BXSyncConf& conf, Batch& batch) const
{
    const auto own = conf.syncinfoPath();
    const auto target = syncInfoPath(name);
    // Left behind by a configuration of that name which is gone.
    if (!fs::exists(configFilePath(name))) removeSyncInfo(target);
    const auto beside = own.empty() || own == target ? std::vector<std::string>() : filesBeside(own);
    const bool discards = conf.discardPsi() && !own.empty();
    if (discards && fs::exists(own))
        if (auto discarded = setAside(own, batch); !discarded) return discarded;
    for (const auto& file : beside)
        move(file, target + file.substr(own.size()), batch);
    if (own.empty() || own == target || discards || !fs::exists(own)) return {};
    move(own, target, batch);
    conf.setSyncinfoPath(target);
    return {};
}

Status BXSyncConfigManager::setAside(const std::string& syncInfo, Batch& batch) const
{
    const auto aside = syncInfo + std::string(discardedSuffix);
    auto renamed = fs::rename(syncInfo, aside);
    if (!renamed) return renamed;
    batch.moves.push_back({syncInfo, aside});
    batch.toRemove.push_back(aside);
    return {};
}

void BXSyncConfigManager::move(const std::string& from, const std::string& to, Batch& batch) const
{
    if (fs::rename(from, to)) batch.moves.push_back({from, to});
}

/// The files named like the sync-info file with a further suffix; the lock belongs to whoever holds it.
std::vector<std::string> BXSyncConfigManager::filesBeside(const std::string& syncInfo) const
{
    std::vector<std::string> files;
    const auto prefix = fs::lastPathComponent(syncInfo) + ".";
    const auto entries = fs::listFolder(directory_);
    for (const auto& entry : entries.value_or(std::vector<fs::Entry>{})) {
        const bool ofOther = entry.name.ends_with(configExtension) || entry.name.ends_with(syncInfoExtension);
        if (entry.name.starts_with(prefix) && !ofOther && !entry.name.ends_with(lockSuffix))
            files.push_back(fs::joinPath(directory_, entry.name));
    }
    return files;
}

void BXSyncConfigManager::removeSyncInfo(const std::string& path) const
{
    if (fs::exists(path)) (void)fs::removeFile(path);
    for (const auto& file : filesBeside(path))
        (void)fs::removeFile(file);
}

Status BXSyncConfigManager::writeConf(const std::string& name, BXSyncConf& conf) const
{
    PropertyList::Dictionary dictionary;
    conf.updateDictinary(dictionary, true);
    if (!conf.creationDate()) conf.setCreationDate(clock_.wallNow());
    (void)fs::createFolders(directory_, 0700);
    Status written;
    for (int attempt = 0; attempt < writeAttempts; ++attempt) {
        written = ConfigurationFile::write(configFilePath(name), dictionary, conf.creationDate());
        if (written) break;
    }
    return written;
}

/// False when the configuration is still there; then it has its sync-info file, too.
bool BXSyncConfigManager::deleteOne(const std::string& name)
{
    cacheConfig(nullptr, name);
    if (!checkName(name)) return true;
    const auto path = configFilePath(name);
    Batch batch;
    if (fs::exists(syncInfoPath(name)) && !setAside(syncInfoPath(name), batch)) return false;
    if (const auto removed = fs::removeFile(path); !removed && fs::exists(path)) {
        for (const auto& move : batch.moves)
            (void)fs::rename(move.to, move.from);
        cacheConfig(get(name, false), name);
        return false;
    }
    removeSyncInfo(syncInfoPath(name));
    return true;
}

} // namespace tidemark
