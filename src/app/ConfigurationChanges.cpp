#include "app/ConfigurationChanges.h"

#include <dirent.h>
#include <sys/stat.h>

#include <memory>
#include <string_view>

#include "SyncLibrary/BXSyncFileWatcher.h"
#include "config/BXSyncConfigManager.h"

namespace tidemark {

ConfigurationChanges::ConfigurationChanges(BXSyncConfigManager& store) : store_(store), known_(scan()) {}

ConfigurationChanges::Signatures ConfigurationChanges::scan() const
{
    constexpr std::string_view suffix = ".xml";
    Signatures found;
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(::opendir(store_.directory().c_str()), ::closedir);
    if (!folder) return found;
    while (const dirent* entry = ::readdir(folder.get())) {
        const std::string_view name = entry->d_name;
        struct stat status = {};
        if (name.size() <= suffix.size() || !name.ends_with(suffix) ||
            ::fstatat(::dirfd(folder.get()), entry->d_name, &status, 0) != 0)
            continue;
        constexpr std::int64_t nanosecondsPerSecond = 1'000'000'000;
        found[std::string(name.substr(0, name.size() - suffix.size()))] = {
            status.st_ino, status.st_size, status.st_mtim.tv_sec * nanosecondsPerSecond + status.st_mtim.tv_nsec};
    }
    return found;
}

bool ConfigurationChanges::takeUp()
{
    auto present = scan();
    if (present == known_) return false;
    for (const auto& [name, signature] : present) {
        const auto before = known_.find(name);
        if (before != known_.end() && before->second == signature) continue;
        if (auto conf = store_.get(name, false)) store_.cacheConfig(std::move(conf), name);
    }
    for (const auto& [name, signature] : known_)
        if (!present.contains(name)) store_.cacheConfig(nullptr, name);
    known_ = std::move(present);
    return true;
}

void ConfigurationChanges::reload()
{
    known_ = scan();
    for (const auto& name : store_.configNames())
        if (!known_.contains(name)) store_.cacheConfig(nullptr, name);
    for (const auto& [name, signature] : known_)
        if (auto conf = store_.get(name, false)) store_.cacheConfig(std::move(conf), name);
    for (const auto& [name, watcher] : store_.fileWachers())
        store_.watchAgain(name);
}

} // namespace tidemark
