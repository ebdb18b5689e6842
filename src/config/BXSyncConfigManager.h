#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "config/BXSyncConf.h"
#include "platform/Clock.h"
#include "platform/Result.h"

namespace tidemark {

class BXSyncCertificateManager;
class BXSyncFileWatcher;

/// The store of sync configurations: one property list per configuration in a directory, and the configurations by
/// name in memory. Other processes may change the directory at any time; get() without the cache sees that. Any thread.
class BXSyncConfigManager
{
public:
    /// What to do with a configuration name; nothing deletes it, together with its sync-info file.
    using Changes = std::map<std::string, std::shared_ptr<BXSyncConf>>;
    static constexpr std::size_t maximumNameLength = 200;

    /// The process-wide store, over the configuration directory; loads everything when first used.
    static BXSyncConfigManager& getinstance();
    /// A store over another directory; empty until loadAll(). `clock` dates new configurations; without certificates
    /// of its own it takes the shared ones.
    explicit BXSyncConfigManager(std::string directory, const Clock& clock = Clock::system(),
                                 BXSyncCertificateManager* certificates = nullptr);
    ~BXSyncConfigManager();
    BXSyncConfigManager(const BXSyncConfigManager&) = delete;
    BXSyncConfigManager& operator=(const BXSyncConfigManager&) = delete;

    /// Whether `name` can name a configuration, and so its files. Domain "Configuration".
    static Status checkName(const std::string& name);

    const std::string& directory() const { return directory_; }
    std::string configFilePath(const std::string& name) const;
    std::string syncInfoPath(const std::string& name) const;

    /// Reads one configuration file, sets up its logger and client certificate. Null where there is no such file or
    /// it is unreadable; the latter is logged.
    std::shared_ptr<BXSyncConf> loadConf(const std::string& name) const;
    /// The same with the reason: domain "Configuration" for a file whose contents are none, "POSIX" for one that
    /// cannot be read, missing ones included.
    Result<std::shared_ptr<BXSyncConf>> readConf(const std::string& name) const;
    void loadAll();
    /// The files that the last loadAll() found unreadable, by configuration name.
    std::map<std::string, Error> brokenConfigurations() const;

    std::shared_ptr<BXSyncConf> get(const std::string& name, bool useCache);

    /// Applies the changes to disk and memory; a new name is the new name with the configuration and the old name
    /// deleted, in one batch. The names that could not be written are returned, after the alert "CONFIG_SAVE_FAILURE".
    ///
    /// Nothing is lost: when one name could not be written, nothing is deleted, and a sync-info file that was moved
    /// is moved back. Files named like the sync-info file with a further suffix go with it, except ".lock".
    ///
    /// Whoever saves or deletes a configuration keeps its runs away meanwhile.
    std::vector<std::string> save(const Changes& changes);

    /// Puts a configuration into memory, or takes it out, and adjusts its watcher.
    void cacheConfig(std::shared_ptr<BXSyncConf> conf, const std::string& name);

    /// Oldest first.
    std::vector<std::string> configNames() const;
    std::vector<std::string> enableConfigNames();
    std::map<std::string, std::shared_ptr<BXSyncConf>> configs() const;

    /// Watchers are kept only by a program that reacts to changes: none until this is called, from then on one per
    /// enabled configuration with automatic sync.
    void startWatching();
    /// Whoever does what it is given, one after the other in that order, on any one thread.
    using Worker = std::function<void(std::function<void()> work)>;
    /// Who begins and ends watches, which walks whole folders; without one, whoever calls. A watcher is there once it
    /// watches. Its work is done or dropped before the store ends.
    void setWatchWorker(Worker worker);
    /// Where the watching of a configuration has failed: tries anew.
    void watchAgain(const std::string& name);
    /// Null for a configuration that is not watched.
    std::shared_ptr<BXSyncFileWatcher> fileWatcher(const std::string& name) const;
    std::map<std::string, std::shared_ptr<BXSyncFileWatcher>> fileWachers() const;

private:
    struct Batch;

    void prepareLoaded(BXSyncConf& conf, const std::string& name) const;
    void saveOne(const std::string& name, BXSyncConf& conf, Batch& batch);
    Status storeOne(const std::string& name, BXSyncConf& conf, Batch& batch) const;
    Status placeSyncInfo(const std::string& name, BXSyncConf& conf, Batch& batch) const;
    Status setAside(const std::string& syncInfo, Batch& batch) const;
    void move(const std::string& from, const std::string& to, Batch& batch) const;
    std::vector<std::string> filesBeside(const std::string& syncInfo) const;
    void removeSyncInfo(const std::string& path) const;
    Status writeConf(const std::string& name, BXSyncConf& conf) const;
    bool deleteOne(const std::string& name);
    BXSyncCertificateManager& certificates() const;

    bool isWatched(const std::string& name, const std::string& path) const; // with the lock held
    void doWatchWork(std::function<void()> work) const;
    void beginWatch(const std::string& name);

    const std::string directory_;
    const Clock& clock_;
    BXSyncCertificateManager* const certificates_;
    mutable std::mutex mutex_; // guards all below
    bool watching_ = false;
    Worker watchWorker_;
    std::map<std::string, std::shared_ptr<BXSyncConf>> configs_;
    std::map<std::string, std::shared_ptr<BXSyncFileWatcher>> fileWachers_;
    std::map<std::string, Error> broken_;
};

} // namespace tidemark
