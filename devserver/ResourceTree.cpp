#include "devserver/ResourceTree.h"

#include "devserver/Text.h"

#include <algorithm>
#include <stdexcept>

namespace devserver {

namespace {

bool isAllowedName(std::string_view name)
{
    return !name.empty() && name != "." && name != ".." && name.size() <= 255 &&
           name.find('\0') == std::string_view::npos && name.find('/') == std::string_view::npos &&
           !PartialFile::isPartialName(name);
}

bool isLink(const std::filesystem::path& file)
{
    std::error_code ignored;
    return std::filesystem::is_symlink(file, ignored);
}

} // namespace

ResourceTree::ResourceTree(const std::filesystem::path& root, std::string_view mount) : mount_("/")
{
    std::error_code error;
    root_ = std::filesystem::canonical(root, error);
    if (error || !std::filesystem::is_directory(root_)) throw std::runtime_error("no such folder: " + root.string());
    for (const auto component : split(mount, '/'))
        if (!component.empty()) mount_ += std::string(component) + "/";
}

std::optional<Resource> ResourceTree::resolve(std::string_view urlPath) const
{
    if (urlPath != std::string_view(mount_).substr(0, mount_.size() - 1) && !urlPath.starts_with(mount_)) return {};
    Resource resource;
    resource.slash = urlPath.ends_with('/');
    resource.file = root_;
    urlPath.remove_prefix(std::min(urlPath.size(), mount_.size()));
    for (const auto component : split(urlPath, '/')) {
        if (component.empty()) continue;
        if (!isAllowedName(component) || isLink(resource.file)) return {};
        resource.file /= component;
        resource.path += "/" + std::string(component);
    }
    if (resource.path.empty()) resource.path = "/";
    if (isLink(resource.file)) return {};
    resource.status = fileStatus(resource.file);
    return resource;
}

std::optional<Resource> ResourceTree::member(const Resource& folder, std::string_view name) const
{
    if (!isAllowedName(name)) return {};
    Resource resource;
    resource.path = (folder.isRoot() ? "" : folder.path) + "/" + std::string(name);
    resource.file = folder.file / name;
    resource.status = fileStatus(resource.file);
    return resource;
}

std::string ResourceTree::href(const Resource& resource, bool rawPlus) const
{
    std::string path = mount_ + resource.path.substr(1);
    if (resource.isFolder() && !path.ends_with('/')) path += '/';
    return percentEncoded(path, rawPlus);
}

} // namespace devserver
