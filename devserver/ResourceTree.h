#pragma once

#include "devserver/File.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace devserver {

// A place in the served tree, whether or not there is something.
struct Resource
{
    std::string path; // below the mount, decoded: "/" or "/a/b", without a "/" at the end
    std::filesystem::path file;
    std::optional<FileStatus> status; // nothing: there is nothing
    bool slash = false;               // the request's path ended in "/"

    bool isFolder() const { return status && status->folder; }
    bool isRoot() const { return path == "/"; }
};

// Maps URL paths to files. Nothing it returns lies outside the root: "." and "..", NUL, names of partial files and
// every path through a link are no resources.
class ResourceTree
{
public:
    // Throws std::runtime_error when the root is no folder.
    ResourceTree(const std::filesystem::path& root, std::string_view mount);

    // Takes a decoded URL path that starts with "/". Nothing when it is outside the mount or not allowed.
    std::optional<Resource> resolve(std::string_view urlPath) const;
    // The entry of that name in a folder.
    std::optional<Resource> member(const Resource& folder, std::string_view name) const;
    // The escaped URL path of a resource; that of a folder ends in "/".
    std::string href(const Resource& resource, bool rawPlus) const;
    // "/" or "/dav/".
    const std::string& mount() const { return mount_; }

private:
    std::filesystem::path root_;
    std::string mount_;
};

} // namespace devserver
