#include "devserver/DeadProperties.h"

#include "devserver/Text.h"

#include <array>
#include <sys/xattr.h>

namespace devserver {

namespace {

constexpr const char* attributeName = "user.devserver.properties";
constexpr std::size_t attributeLimit = 65536;

// Name space, name and value of each property in turn, each ended by NUL, which XML cannot hold.
std::string serialized(const PropertyMap& properties)
{
    std::string text;
    for (const auto& [key, value] : properties)
        for (const std::string* part : {&key.nameSpace, &key.name, &value})
            text += *part + '\0';
    return text;
}

PropertyMap deserialized(std::string_view text)
{
    PropertyMap properties;
    const auto parts = split(text, '\0');
    for (std::size_t i = 0; i + 3 <= parts.size(); i += 3)
        properties[{std::string(parts[i]), std::string(parts[i + 1])}] = parts[i + 2];
    return properties;
}

bool isBelow(std::string_view file, std::string_view folder)
{
    return file == folder || (file.starts_with(folder) && file.substr(folder.size()).starts_with('/'));
}

} // namespace

PropertyMap DeadProperties::of(const std::filesystem::path& file) const
{
    const std::lock_guard lock(mutex_);
    return load(file);
}

void DeadProperties::change(const std::filesystem::path& file,
                            const std::vector<std::pair<PropertyName, std::optional<std::string>>>& changes)
{
    const std::lock_guard lock(mutex_);
    PropertyMap properties = load(file);
    for (const auto& [name, value] : changes) {
        if (value)
            properties[name] = *value;
        else
            properties.erase(name);
    }
    store(file, properties);
}

void DeadProperties::copy(const std::filesystem::path& from, const std::filesystem::path& to)
{
    const std::lock_guard lock(mutex_);
    if (const PropertyMap properties = load(from); !properties.empty()) store(to, properties);
}

void DeadProperties::moved(const std::filesystem::path& from, const std::filesystem::path& to)
{
    const std::lock_guard lock(mutex_);
    std::map<std::string, PropertyMap> renamed;
    for (auto& [file, properties] : inMemory_) {
        if (isBelow(file, from.string()))
            renamed[to.string() + file.substr(from.string().size())] = std::move(properties);
        else if (!isBelow(file, to.string()))
            renamed[file] = std::move(properties);
    }
    inMemory_ = std::move(renamed);
}

void DeadProperties::removed(const std::filesystem::path& file)
{
    const std::lock_guard lock(mutex_);
    std::erase_if(inMemory_, [&](const auto& entry) { return isBelow(entry.first, file.string()); });
}

PropertyMap DeadProperties::load(const std::filesystem::path& file) const
{
    if (const auto found = inMemory_.find(file.string()); found != inMemory_.end()) return found->second;
    std::array<char, 4096> buffer{};
    ssize_t size = lgetxattr(file.c_str(), attributeName, buffer.data(), buffer.size());
    if (size >= 0) return deserialized({buffer.data(), static_cast<std::size_t>(size)});
    if (errno != ERANGE) return {};
    std::string large(attributeLimit, '\0');
    size = lgetxattr(file.c_str(), attributeName, large.data(), large.size());
    return size < 0 ? PropertyMap() : deserialized({large.data(), static_cast<std::size_t>(size)});
}

void DeadProperties::store(const std::filesystem::path& file, const PropertyMap& properties)
{
    inMemory_.erase(file.string());
    const std::string text = serialized(properties);
    if (text.empty()) {
        lremovexattr(file.c_str(), attributeName);
    } else if (text.size() > attributeLimit ||
               lsetxattr(file.c_str(), attributeName, text.data(), text.size(), 0) != 0) {
        lremovexattr(file.c_str(), attributeName);
        inMemory_[file.string()] = properties;
    }
}

} // namespace devserver
