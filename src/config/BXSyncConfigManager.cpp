#include "config/BXSyncConfigManager.h"

#include <algorithm>
#include <utility>

#include "Logger/BXLogger.h"
#include "SyncLibrary/BXSyncFileWatcher.h"
#include "Utils/BXTidemarkUtils.h"
#include "config/ConfigurationFile.h"
#include "platform/FileSystem.h"
#include "platform/Unicode.h"
#include "security/BXSyncCertificateManager.h"

namespace tidemark {

namespace {

constexpr std::string_view configExtension = ".xml";
constexpr std::string_view syncInfoExtension = ".psi";

std::string logNameOf(const std::string& name)
{
    return "marlock_tidemark_" + name + ".log";
}

bool wantsWatcher(const BXSyncConf* conf)
{
    return conf && conf->enable() && conf->autosync();
}

} // namespace

BXSyncConfigManager& BXSyncConfigManager::getinstance()
{
    static BXSyncConfigManager instance(BXTidemarkUtils::configDirectory());
    static const bool loaded = (instance.loadAll(), true);
    (void)loaded;
    return instance;
}

BXSyncConfigManager::BXSyncConfigManager(std::string directory, const Clock& clock,
                                         BXSyncCertificateManager* certificates)
    : directory_(std::move(directory)), clock_(clock), certificates_(certificates)
{
}

BXSyncConfigManager::~BXSyncConfigManager() = default;

Status BXSyncConfigManager::checkName(const std::string& name)
{
    const auto refuse = [](const char* why) {
        return failure(ConfigurationFile::errorDomain, ConfigurationFile::invalidName, why);
    };
    if (name.empty()) return refuse("The name is empty.");
    if (name == "." || name == "..") return refuse("\".\" and \"..\" can not be names.");
    if (name.size() > maximumNameLength) return refuse("The name is longer than 200 bytes.");
    if (name.find('/') != std::string::npos) return refuse("The name must not contain \"/\".");
    if (escapeControls(name) != name) return refuse("The name must be text without control characters.");
    return {};
}

std::string BXSyncConfigManager::configFilePath(const std::string& name) const
{
    return fs::joinPath(directory_, name + std::string(configExtension));
}

std::string BXSyncConfigManager::syncInfoPath(const std::string& name) const
{
    return fs::joinPath(directory_, name + std::string(syncInfoExtension));
}

BXSyncCertificateManager& BXSyncConfigManager::certificates() const
{
    return certificates_ ? *certificates_ : BXSyncCertificateManager::getInstance();
}

Result<std::shared_ptr<BXSyncConf>> BXSyncConfigManager::readConf(const std::string& name) const
{
    if (const auto checked = checkName(name); !checked) return failure(checked.error());
    const auto dictionary = ConfigurationFile::read(configFilePath(name));
    if (!dictionary) return failure(dictionary.error());
    auto conf = std::make_shared<BXSyncConf>(*dictionary);
    // Without its key the configuration would put files on the server as they are.
    if (const auto key = dictionary->find("encryptKey");
        key != dictionary->end() && !key->second.stringValue().empty() && conf->encryptKey().empty())
        return failure(ConfigurationFile::errorDomain, ConfigurationFile::notConfiguration,
                       configFilePath(name) + ": the stored encryption key cannot be read");
    prepareLoaded(*conf, name);
    return conf;
}

void BXSyncConfigManager::prepareLoaded(BXSyncConf& conf, const std::string& name) const
{
    // The file's name counts: a copied file must not share the sync info of the one it was copied from.
    conf.setName(name);
    conf.setSyncinfoPath(syncInfoPath(name));
    conf.setLogname(logNameOf(name));
    conf.setCreationDate(ConfigurationFile::creationDate(configFilePath(name)));
    if (conf.enable() && !conf.syncLogPath().empty())
        BXLogger::getLogger(conf.syncLogPath(), conf.logname(), static_cast<int>(conf.logKeepDays()));
    if (conf.ignoreServerCert()) conf.info()->setValidatesSecureCertificate(false);
    if (conf.certificateId().empty()) return;
    if (const auto found = certificates().getCert(conf.certificateId()))
        conf.info()->setClientCertificates(found->front());
    else
        conf.setCertificateId({});
}

std::shared_ptr<BXSyncConf> BXSyncConfigManager::loadConf(const std::string& name) const
{
    if (!fs::exists(configFilePath(name))) return nullptr;
    const auto conf = readConf(name);
    if (conf) return *conf;
    BXLogger::globalError("The configuration can not be read.:" + conf.error().description());
    return nullptr;
}

void BXSyncConfigManager::loadAll()
{
    std::map<std::string, Error> broken;
    std::map<std::string, std::shared_ptr<BXSyncConf>> loaded;
    const auto entries = fs::listFolder(directory_);
    for (const auto& entry : entries.value_or(std::vector<fs::Entry>{})) {
        if (!entry.name.ends_with(configExtension)) continue;
        const auto name = entry.name.substr(0, entry.name.size() - configExtension.size());
        auto conf = readConf(name);
        if (conf) {
            loaded[name] = *conf;
            continue;
        }
        BXLogger::globalError("The configuration can not be read.:" + conf.error().description());
        broken[name] = conf.error();
    }
    for (const auto& [name, conf] : configs())
        if (!loaded.contains(name)) cacheConfig(nullptr, name);
    for (const auto& [name, conf] : loaded)
        cacheConfig(conf, name);
    std::lock_guard lock(mutex_);
    broken_ = std::move(broken);
}

std::map<std::string, Error> BXSyncConfigManager::brokenConfigurations() const
{
    std::lock_guard lock(mutex_);
    return broken_;
}

std::shared_ptr<BXSyncConf> BXSyncConfigManager::get(const std::string& name, bool useCache)
{
    if (useCache) {
        std::lock_guard lock(mutex_);
        if (const auto found = configs_.find(name); found != configs_.end()) return found->second;
    }
    auto conf = loadConf(name);
    if (conf && useCache) cacheConfig(conf, name);
    return conf;
}

void BXSyncConfigManager::cacheConfig(std::shared_ptr<BXSyncConf> conf, const std::string& name)
{
    std::shared_ptr<BXSyncFileWatcher> retired;
    bool needsWatcher = false;
    {
        std::lock_guard lock(mutex_);
        const bool wanted = watching_ && wantsWatcher(conf.get());
        const bool stays = wanted && isWatched(name, conf->localPath());
        needsWatcher = wanted && !stays;
        if (const auto found = fileWachers_.find(name); found != fileWachers_.end() && !stays) {
            retired = std::move(found->second);
            fileWachers_.erase(found);
        }
        if (conf)
            configs_[name] = std::move(conf);
        else
            configs_.erase(name);
    }
    if (!retired && !needsWatcher) return;
    // Switching walks the tree, so it is done without the lock.
    doWatchWork([this, name, retired = std::move(retired)]() mutable {
        if (retired) retired->setOn(false);
        retired.reset();
        beginWatch(name);
    });
}

bool BXSyncConfigManager::isWatched(const std::string& name, const std::string& path) const
{
    const auto found = fileWachers_.find(name);
    return found != fileWachers_.end() && found->second->watchPath() == path;
}

void BXSyncConfigManager::doWatchWork(std::function<void()> work) const
{
    std::unique_lock lock(mutex_);
    const auto worker = watchWorker_;
    lock.unlock();
    if (worker)
        worker(std::move(work));
    else
        work();
}

/// Where one is wanted still. A configuration that changes during the walk has its own work coming.
void BXSyncConfigManager::beginWatch(const std::string& name)
{
    const auto pathToWatch = [this, &name]() -> std::string {
        const auto found = configs_.find(name);
        const bool wanted = found != configs_.end() && wantsWatcher(found->second.get());
        return wanted && !isWatched(name, found->second->localPath()) ? found->second->localPath() : std::string{};
    };
    std::unique_lock lock(mutex_);
    const auto path = pathToWatch();
    lock.unlock();
    if (path.empty()) return;
    auto watcher = std::make_shared<BXSyncFileWatcher>(path);
    watcher->setOn(true);
    lock.lock();
    // One that is dropped is destroyed after the lock is released.
    if (pathToWatch() == path) fileWachers_[name].swap(watcher);
    lock.unlock();
}

std::vector<std::string> BXSyncConfigManager::configNames() const
{
    std::vector<std::pair<dates::Time, std::string>> dated;
    for (const auto& [name, conf] : configs())
        dated.emplace_back(conf->creationDate().value_or(dates::Time::max()), name);
    std::stable_sort(dated.begin(), dated.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<std::string> names;
    for (auto& [date, name] : dated)
        names.push_back(std::move(name));
    return names;
}

std::vector<std::string> BXSyncConfigManager::enableConfigNames()
{
    auto names = configNames();
    std::erase_if(names, [this](const std::string& name) {
        const auto conf = get(name, true);
        return !conf || !conf->enable();
    });
    return names;
}

std::map<std::string, std::shared_ptr<BXSyncConf>> BXSyncConfigManager::configs() const
{
    std::lock_guard lock(mutex_);
    return configs_;
}

void BXSyncConfigManager::startWatching()
{
    {
        std::lock_guard lock(mutex_);
        watching_ = true;
    }
    for (const auto& [name, conf] : configs())
        cacheConfig(conf, name);
}

void BXSyncConfigManager::setWatchWorker(Worker worker)
{
    std::lock_guard lock(mutex_);
    watchWorker_ = std::move(worker);
}

void BXSyncConfigManager::watchAgain(const std::string& name)
{
    doWatchWork([this, name] {
        if (const auto watcher = fileWatcher(name)) watcher->watchAgain();
    });
}

std::shared_ptr<BXSyncFileWatcher> BXSyncConfigManager::fileWatcher(const std::string& name) const
{
    std::lock_guard lock(mutex_);
    const auto found = fileWachers_.find(name);
    return found == fileWachers_.end() ? nullptr : found->second;
}

std::map<std::string, std::shared_ptr<BXSyncFileWatcher>> BXSyncConfigManager::fileWachers() const
{
    std::lock_guard lock(mutex_);
    return fileWachers_;
}

} // namespace tidemark
