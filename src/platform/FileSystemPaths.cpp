#include <sys/stat.h>

#include <algorithm>
#include <cerrno>

#include "platform/FileDescriptor.h"
#include "platform/FileSystem.h"
#include "platform/Unicode.h"

namespace tidemark::fs {

namespace {

bool isAscii(std::string_view text)
{
    return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<signed char>(c) >= 0; });
}

/// Few names have another spelling: those beyond ASCII, and the three ASCII characters that others compose to.
bool hasOtherSpellings(std::string_view nfcName)
{
    return !isAscii(nfcName) || nfcName.find_first_of("K;`") != std::string_view::npos;
}

/// The entry of `folder` whose NFC form is `nfcName`.
std::optional<std::string> findOtherSpelling(const std::string& folder, std::string_view nfcName)
{
    OpenFolder entries(::opendir(folder.c_str()));
    if (!entries) return std::nullopt;
    while (const auto* entry = ::readdir(entries.get())) {
        std::string_view name = entry->d_name;
        if (!isAscii(name) && toNfc(name) == nfcName) return std::string(name);
    }
    return std::nullopt;
}

bool isPlainComponent(std::string_view component)
{
    return !component.empty() && component != "." && component != ".." &&
           component.find('\0') == std::string_view::npos;
}

/// Where `component` lies in `folder`, and what kind of entry it is (0 for what is to be made).
struct Located
{
    std::string path;
    mode_t mode = 0;
};

Located locate(const std::string& folder, std::string_view component,
               const MayHoldOtherSpellings& mayHoldOtherSpellings)
{
    struct stat status
    {
    };
    auto path = joinPath(folder, component);
    if (::lstat(path.c_str(), &status) == 0) return {path, status.st_mode};
    if (errno != ENOENT || !hasOtherSpellings(component)) return {path, 0};
    if (mayHoldOtherSpellings && !mayHoldOtherSpellings(folder)) return {path, 0};
    auto spelling = findOtherSpelling(folder, component);
    if (!spelling) return {path, 0};
    path = joinPath(folder, *spelling);
    return {path, ::lstat(path.c_str(), &status) == 0 ? status.st_mode : 0};
}

} // namespace

Result<std::string> resolve(const std::string& root, std::string_view pathname,
                            const MayHoldOtherSpellings& mayHoldOtherSpellings)
{
    auto refused = [&](int error) { return posixFailure(error, root + std::string(pathname)); };
    if (!pathname.starts_with('/')) return refused(EINVAL);
    std::string path = root;
    while (!pathname.empty()) {
        pathname.remove_prefix(1);
        auto component = pathname.substr(0, pathname.find('/'));
        pathname.remove_prefix(component.size());
        if (!isPlainComponent(component)) return refused(EINVAL);
        auto located = locate(path, component, mayHoldOtherSpellings);
        // A link could lead out of the root.
        if (!pathname.empty() && S_ISLNK(located.mode)) return refused(ELOOP);
        path = std::move(located.path);
    }
    return path;
}

std::string parentPath(std::string_view path)
{
    while (path.size() > 1 && path.ends_with('/'))
        path.remove_suffix(1);
    auto slash = path.rfind('/');
    if (slash == std::string_view::npos) return {};
    return std::string(slash == 0 ? "/" : path.substr(0, slash));
}

std::string lastPathComponent(std::string_view path)
{
    while (path.size() > 1 && path.ends_with('/'))
        path.remove_suffix(1);
    if (path == "/") return {};
    return std::string(path.substr(path.rfind('/') + 1));
}

std::string joinPath(std::string_view folder, std::string_view name)
{
    while (folder.size() > 1 && folder.ends_with('/'))
        folder.remove_suffix(1);
    while (name.starts_with('/'))
        name.remove_prefix(1);
    std::string path(folder);
    if (!path.empty() && !path.ends_with('/')) path += '/';
    path += name;
    return path;
}

} // namespace tidemark::fs
