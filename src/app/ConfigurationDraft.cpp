#include "app/ConfigurationDraft.h"

#include <algorithm>
#include <charconv>
#include <optional>

#include "SyncLibrary/BXSyncRunLock.h"
#include "app/ConfigurationInput.h"
#include "app/FolderChange.h"
#include "config/BXSyncConfigManager.h"
#include "davclient/ASHttpConnectInfo.h"
#include "platform/FileSystem.h"
#include "platform/Unicode.h"

namespace tidemark {

namespace {

using Field = ConfigurationDraft::Field;

constexpr int highestPort = 65535;
constexpr int mostLogDays = 36500;

std::optional<int> numberIn(const std::string& text, int lowest, int highest)
{
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || value < lowest || value > highest)
        return std::nullopt;
    return value;
}

bool isAbsolute(const std::string& path)
{
    return path.starts_with('/') && checkedFolder(path, "/").has_value();
}

/// Whether a folder is there, or can be as far as the way to it goes.
bool hasRoomForFolder(std::string path)
{
    while (!fs::exists(path))
        path = fs::parentPath(path);
    return fs::isFolder(path);
}

const char* nameProblem(const BXSyncConfigManager& store, const std::string& name, const std::string& formerName)
{
    const auto checked = checkedName(name);
    if (!checked) return name.empty() ? "NAME_MISSING" : "NAME_UNUSABLE";
    return *checked != formerName && fs::exists(store.configFilePath(*checked)) ? "NAME_TAKEN" : nullptr;
}

const char* urlProblem(const std::string& url)
{
    if (url.empty()) return "URL_MISSING";
    return checkedUrl(url) ? nullptr : "URL_UNUSABLE";
}

const char* localProblem(const ConfigurationDraft& draft, const BXSyncConfigManager& store)
{
    if (draft.localPath.empty()) return "LOCAL_MISSING";
    if (!isAbsolute(draft.localPath)) return "LOCAL_UNUSABLE";
    BXSyncConf conf;
    conf.setLocalPath(*checkedFolder(draft.localPath, "/"));
    if (!checkLocalFolder(conf, store)) return "LOCAL_HOLDS_CONFIGURATIONS";
    return hasRoomForFolder(*checkedFolder(draft.localPath, "/")) ? nullptr : "LOCAL_NO_FOLDER";
}

const char* logFolderProblem(const std::string& folder)
{
    if (!isAbsolute(folder)) return "LOG_FOLDER_UNUSABLE";
    return hasRoomForFolder(folder) ? nullptr : "LOCAL_NO_FOLDER";
}

struct Problems
{
    std::vector<ConfigurationDraft::Problem> list{};

    /// Null for none.
    void add(Field field, const char* problem)
    {
        if (problem) list.push_back({field, problem});
    }
};

tl::unexpected<Error> fault(ConfigurationDraft::Fault code, std::string description)
{
    return failure(ConfigurationDraft::errorDomain, static_cast<std::int64_t>(code), std::move(description));
}

/// Null for a store that cannot be locked.
Result<std::unique_ptr<BXSyncRunLock>> keepRunsAway(const std::string& syncInfoPath)
{
    auto lock = BXSyncRunLock::tryAcquire(syncInfoPath);
    if (lock && !*lock) return fault(ConfigurationDraft::Fault::runUnderWay, "a run is under way");
    return lock;
}

} // namespace

ConfigurationDraft ConfigurationDraft::of(const BXSyncConf& conf)
{
    const auto& info = *conf.info();
    ConfigurationDraft draft;
    draft.name = conf.name();
    draft.enabled = conf.enable();
    draft.url = conf.serverURL();
    draft.localPath = conf.localPath();
    draft.mode = conf.mode();
    draft.conflict = conf.conflict();
    draft.serverDelete = conf.serverDelete();
    draft.localDelete = conf.localDelete();
    draft.autosync = conf.autosync();
    draft.schedules = conf.syncSchedules();
    draft.user = info.isUseAuthorization() ? info.username() : "";
    draft.password = info.password();
    draft.usesProxy = info.isUseProxy();
    draft.proxyHost = info.proxyHost();
    draft.proxyPort = info.proxyPort().value_or(0) > 0 ? std::to_string(*info.proxyPort()) : "";
    draft.proxyUser = info.isUseProxyAuthorization() ? info.proxyUsername() : "";
    draft.proxyPassword = info.proxyPassword();
    draft.certificateId = conf.certificateId();
    draft.ignoreServerCert = conf.ignoreServerCert();
    draft.encrypts = !conf.encryptKey().empty();
    draft.key = draft.repeatedKey = conf.encryptKey();
    draft.logFolder = conf.syncLogPath();
    draft.logDays = std::to_string(conf.logKeepDays());
    return draft;
}

std::vector<ConfigurationDraft::Problem> ConfigurationDraft::serverProblems() const
{
    Problems found;
    found.add(Field::url, urlProblem(url));
    found.add(Field::user, user.empty() && !password.empty() ? "USER_MISSING" : nullptr);
    if (usesProxy) {
        found.add(Field::proxyHost, isProxyHost(proxyHost) ? nullptr : "PROXY_HOST_UNUSABLE");
        found.add(Field::proxyPort, numberIn(proxyPort, 1, highestPort) ? nullptr : "PROXY_PORT_UNUSABLE");
        found.add(Field::proxyUser, proxyUser.empty() && !proxyPassword.empty() ? "PROXY_USER_MISSING" : nullptr);
    }
    return std::move(found.list);
}

std::vector<ConfigurationDraft::Problem> ConfigurationDraft::problems(const BXSyncConfigManager& store,
                                                                      const std::string& formerName) const
{
    Problems found{serverProblems()};
    found.add(Field::name, nameProblem(store, name, formerName));
    found.add(Field::localPath, localProblem(*this, store));
    if (encrypts) {
        found.add(Field::key, key.empty() ? "KEY_MISSING" : nullptr);
        found.add(Field::repeatedKey, key.empty() || key == repeatedKey ? nullptr : "KEY_DIFFERS");
    }
    found.add(Field::logFolder, logFolder.empty() ? nullptr : logFolderProblem(logFolder));
    found.add(Field::logDays, numberIn(logDays, 1, mostLogDays) ? nullptr : "LOG_DAYS_UNUSABLE");
    std::ranges::sort(found.list, {}, &Problem::field);
    return std::move(found.list);
}

void ConfigurationDraft::apply(BXSyncConf& conf) const
{
    const auto checked = checkedUrl(url);
    pairFolders(conf, checked ? checked->absoluteString() : conf.serverURL(),
                checkedFolder(localPath, "/").value_or(localPath));
    conf.setName(checkedName(name).value_or(name));
    conf.setEnable(enabled);
    conf.setMode(mode);
    conf.setConflict(conflict);
    conf.setServerDelete(serverDelete);
    conf.setLocalDelete(localDelete);
    conf.setAutosync(autosync);
    conf.setSyncSchedules(schedules);
    conf.setCertificateId(certificateId);
    conf.setIgnoreServerCert(ignoreServerCert);
    conf.setEncryptKey(encrypts ? key : "");
    conf.setSyncLogPath(logFolder.empty() ? "" : checkedFolder(logFolder, "/").value_or(logFolder));
    conf.setLogKeepDays(numberIn(logDays, 1, mostLogDays).value_or(1));
    auto& info = *conf.info();
    info.setIsUseAuthorization(!user.empty());
    info.setUsername(user);
    info.setPassword(password);
    info.setIsUseProxy(usesProxy);
    info.setProxyHost(proxyHost);
    info.setProxyPort(numberIn(proxyPort, 1, highestPort));
    info.setIsUseProxyAuthorization(!proxyUser.empty());
    info.setProxyUsername(proxyUser);
    info.setProxyPassword(proxyPassword);
    info.setValidatesSecureCertificate(!ignoreServerCert);
}

bool ConfigurationDraft::changesKeyOf(const BXSyncConf& conf) const
{
    const bool hasSynchronised = !conf.syncinfoPath().empty() && fs::exists(conf.syncinfoPath());
    return hasSynchronised && conf.encryptKey() != (encrypts ? key : "");
}

Status ConfigurationDraft::save(BXSyncConfigManager& store, const std::string& formerName) const
{
    auto conf = formerName.empty() ? std::make_shared<BXSyncConf>() : store.get(formerName, false);
    if (!conf) return fault(Fault::gone, "there is no configuration " + formerName);
    const auto newName = checkedName(name).value_or(name);
    // What a configuration of that name once knew of its files is not about these folders.
    if (formerName.empty()) conf->setSyncinfoPath(store.syncInfoPath(newName));
    const auto lock = keepRunsAway(conf->syncinfoPath());
    if (!lock) return failure(lock.error());
    const auto formerFolder = conf->localPath();
    apply(*conf);
    if (auto left = leaveFolder(*conf, formerFolder); !left) return left;
    BXSyncConfigManager::Changes changes{{newName, conf}};
    if (!formerName.empty() && formerName != newName) changes[formerName] = nullptr;
    if (!store.save(changes).empty()) return fault(Fault::notWritten, "the configuration cannot be written");
    return {};
}

Status ConfigurationDraft::remove(BXSyncConfigManager& store, const std::string& name)
{
    const auto lock = keepRunsAway(store.syncInfoPath(name));
    if (!lock) return failure(lock.error());
    if (!store.save({{name, nullptr}}).empty()) return fault(Fault::notWritten, "the configuration cannot be deleted");
    return {};
}

} // namespace tidemark
