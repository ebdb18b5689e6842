#include "platform/UserDefaults.h"

#include <sys/stat.h>

#include <cerrno>
#include <utility>

#include "platform/FileSystem.h"
#include "platform/Places.h"

namespace tidemark {

namespace {

/// Every write puts a new file in place, so its identity and change time tell versions apart. "" without a file.
std::string versionOf(const std::string& path)
{
    struct stat status
    {
    };
    if (::stat(path.c_str(), &status) != 0) return {};
    std::string version;
    for (auto number : {static_cast<long long>(status.st_dev), static_cast<long long>(status.st_ino),
                        static_cast<long long>(status.st_size), static_cast<long long>(status.st_mtim.tv_sec),
                        static_cast<long long>(status.st_mtim.tv_nsec), static_cast<long long>(status.st_ctim.tv_sec),
                        static_cast<long long>(status.st_ctim.tv_nsec)})
        version += std::to_string(number) + ":";
    return version;
}

Result<PropertyList::Dictionary> load(const std::string& path)
{
    auto document = fs::readFile(path);
    if (!document && document.error().code == ENOENT) return PropertyList::Dictionary{};
    if (!document) return failure(std::move(document.error()));
    auto list = PropertyList::parse(*document);
    auto* dictionary = list ? list->get<PropertyList::Dictionary>() : nullptr;
    if (!dictionary) return failure("UserDefaults", 1, path + ": not a property list of keys");
    return std::move(*dictionary);
}

} // namespace

UserDefaults& UserDefaults::standard()
{
    static std::mutex mutex; // guards followed
    static std::string followed = Places::defaultsFile();
    static UserDefaults defaults(followed);
    std::lock_guard lock(mutex);
    if (auto place = Places::defaultsFile(); place != followed) {
        followed = place;
        defaults.setPath(std::move(place));
    }
    return defaults;
}

UserDefaults::UserDefaults(std::string path) : path_(std::move(path)) {}

std::optional<PropertyList> UserDefaults::object(const std::string& key)
{
    std::lock_guard lock(mutex_);
    static_cast<void>(refresh());
    auto found = values_.find(key);
    if (found == values_.end()) return std::nullopt;
    return found->second;
}

void UserDefaults::setObject(const std::string& key, std::optional<PropertyList> value)
{
    std::lock_guard lock(mutex_);
    if (auto changed = change(key, std::move(value)); !changed) failedWrite_ = std::move(changed);
}

std::map<std::string, PropertyList> UserDefaults::all()
{
    std::lock_guard lock(mutex_);
    static_cast<void>(refresh());
    return values_;
}

Status UserDefaults::synchronize()
{
    std::lock_guard lock(mutex_);
    return std::exchange(failedWrite_, {});
}

void UserDefaults::setPath(std::string path)
{
    std::lock_guard lock(mutex_);
    path_ = std::move(path);
    values_.clear();
    seenVersion_.clear();
    failedWrite_ = {};
}

/// A file that cannot be read counts as empty for readers; a writer must not replace it.
Status UserDefaults::refresh()
{
    auto version = versionOf(path_);
    if (!version.empty() && version == seenVersion_) return {};
    auto loaded = load(path_);
    seenVersion_ = loaded ? version : std::string{};
    values_ = loaded ? std::move(*loaded) : PropertyList::Dictionary{};
    if (!loaded) return failure(std::move(loaded.error()));
    return {};
}

/// Writers of all processes take turns, so that each starts from what the one before it has written.
Status UserDefaults::change(const std::string& key, std::optional<PropertyList> value)
{
    if (auto made = fs::createFolders(fs::parentPath(path_), 0700); !made) return made;
    auto turn = fs::FileLock::acquire(path_ + ".lock");
    if (!turn) return failure(std::move(turn.error()));
    if (auto read = refresh(); !read) return read;
    if (value)
        values_[key] = std::move(*value);
    else if (values_.erase(key) == 0)
        return {};
    return store();
}

Status UserDefaults::store()
{
    auto written = fs::replaceFile(path_, PropertyList(values_).toXml());
    // After a failure the next look goes to the file again.
    seenVersion_ = written ? versionOf(path_) : std::string{};
    return written;
}

} // namespace tidemark
