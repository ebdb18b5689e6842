#pragma once

#include <filesystem>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace devserver {

struct PropertyName
{
    std::string nameSpace;
    std::string name;
    auto operator<=>(const PropertyName&) const = default;
};

// The product's namespace, and one for what the server keeps for itself and never lists.
inline constexpr std::string_view productNamespace = "http://www.marlock.example/ns/webdav";
inline constexpr std::string_view internalNamespace = "devserver:internal";

// Property name to the XML inside the property's element.
using PropertyMap = std::map<PropertyName, std::string>;

// The dead properties of files and folders. They are an extended attribute of the file, so they go where the file
// goes; a set that does not fit there is kept in memory. Thread-safe.
class DeadProperties
{
public:
    PropertyMap of(const std::filesystem::path& file) const;
    // Sets those with a value, removes those without.
    void change(const std::filesystem::path& file,
                const std::vector<std::pair<PropertyName, std::optional<std::string>>>& changes);
    // Gives `to` the properties of `from` (both files or both folders, without what is inside).
    void copy(const std::filesystem::path& from, const std::filesystem::path& to);
    // To be called after a rename and after a deletion, with all that is inside.
    void moved(const std::filesystem::path& from, const std::filesystem::path& to);
    void removed(const std::filesystem::path& file);

private:
    PropertyMap load(const std::filesystem::path& file) const;
    void store(const std::filesystem::path& file, const PropertyMap& properties);

    mutable std::mutex mutex_;
    std::map<std::string, PropertyMap> inMemory_; // guarded by mutex_
};

} // namespace devserver
