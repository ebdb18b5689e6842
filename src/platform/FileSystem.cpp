#include "platform/FileSystem.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <utility>

#include "platform/FileDescriptor.h"

namespace tidemark::fs {

namespace {

FileKind kindOf(mode_t mode)
{
    if (S_ISREG(mode)) return FileKind::file;
    return S_ISDIR(mode) ? FileKind::folder : FileKind::other;
}

Attributes attributesOf(const struct stat& status, bool isLink)
{
    auto modified = static_cast<double>(status.st_mtim.tv_sec) + static_cast<double>(status.st_mtim.tv_nsec) * 1e-9;
    return {kindOf(status.st_mode), status.st_size, modified, isLink};
}

/// errno says why there is nothing.
std::optional<Attributes> attributesAt(int folder, const char* name)
{
    struct stat status
    {
    };
    if (::fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW) != 0) return std::nullopt;
    bool isLink = S_ISLNK(status.st_mode);
    if (isLink && ::fstatat(folder, name, &status, 0) != 0) return std::nullopt;
    return attributesOf(status, isLink);
}

bool leadsNowhere(int error)
{
    return error == ENOENT || error == ENOTDIR || error == ELOOP;
}

bool isDotEntry(std::string_view name)
{
    return name == "." || name == "..";
}

Status statusOf(int result, std::string_view path)
{
    if (result != 0) return posixFailure(errno, path);
    return {};
}

std::string qualifiedAttribute(std::string_view name)
{
    return "user." + std::string(name);
}

} // namespace

Result<Attributes> attributes(const std::string& path)
{
    auto found = attributesAt(AT_FDCWD, path.c_str());
    if (!found) return posixFailure(errno, path);
    return *found;
}

bool exists(const std::string& path)
{
    return ::access(path.c_str(), F_OK) == 0;
}

bool isFolder(const std::string& path)
{
    auto found = attributesAt(AT_FDCWD, path.c_str());
    return found && found->kind == FileKind::folder;
}

Result<std::vector<Entry>> listFolder(const std::string& path)
{
    OpenFolder folder(::opendir(path.c_str()));
    if (!folder) return posixFailure(errno, path);
    std::vector<Entry> entries;
    for (errno = 0; const auto* entry = ::readdir(folder.get()); errno = 0) {
        if (isDotEntry(entry->d_name)) continue;
        if (auto found = attributesAt(::dirfd(folder.get()), entry->d_name))
            entries.push_back({entry->d_name, *found});
        else if (!leadsNowhere(errno))
            return posixFailure(errno, joinPath(path, entry->d_name));
    }
    if (errno != 0) return posixFailure(errno, path);
    return entries;
}

Status setModified(const std::string& path, dates::Seconds time)
{
    constexpr double latest = 1e15;
    if (!std::isfinite(time) || std::abs(time) > latest) return posixFailure(EINVAL, path);
    auto whole = std::floor(time);
    auto nanoseconds = std::llround((time - whole) * 1e9);
    constexpr long long perSecond = 1'000'000'000;
    timespec modified{static_cast<std::time_t>(whole) + nanoseconds / perSecond, nanoseconds % perSecond};
    const timespec times[2] = {{0, UTIME_OMIT}, modified};
    return statusOf(::utimensat(AT_FDCWD, path.c_str(), times, 0), path);
}

std::optional<dates::Seconds> birthTime(const std::string& path)
{
    struct statx status
    {
    };
    if (::statx(AT_FDCWD, path.c_str(), 0, STATX_BTIME, &status) != 0 || !(status.stx_mask & STATX_BTIME))
        return std::nullopt;
    return static_cast<double>(status.stx_btime.tv_sec) + static_cast<double>(status.stx_btime.tv_nsec) * 1e-9;
}

Status createFolders(const std::string& path, unsigned mode)
{
    if (path.empty()) return posixFailure(ENOENT, path);
    if (isFolder(path)) return {};
    for (std::size_t end = 0; end != std::string::npos;) {
        end = path.find('/', end + 1);
        auto folder = path.substr(0, end);
        if (::mkdir(folder.c_str(), mode) == 0 || isFolder(folder)) continue;
        return posixFailure(errno == EEXIST ? ENOTDIR : errno, folder);
    }
    return {};
}

Status removeFile(const std::string& path)
{
    return statusOf(::unlink(path.c_str()), path);
}

Status rename(const std::string& from, const std::string& to)
{
    return statusOf(::rename(from.c_str(), to.c_str()), from + " -> " + to);
}

Status truncate(const std::string& path, std::int64_t size)
{
    return statusOf(::truncate(path.c_str(), size), path);
}

Result<std::string> readFile(const std::string& path, std::int64_t limit)
{
    FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat status
    {
    };
    if (!file || ::fstat(file.get(), &status) != 0) return posixFailure(errno, path);
    if (status.st_size > limit) return posixFailure(EFBIG, path);
    std::string content;
    // One byte more than the size shows the end without growing once more.
    std::size_t room = static_cast<std::size_t>(status.st_size) + 1;
    while (true) {
        auto filled = content.size();
        content.resize(filled + room);
        auto count = ::read(file.get(), content.data() + filled, room);
        content.resize(filled + static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        if (count == 0) return content;
        if (count < 0 && errno != EINTR) return posixFailure(errno, path);
        if (std::cmp_greater(content.size(), limit)) return posixFailure(EFBIG, path);
        if (content.size() > static_cast<std::size_t>(status.st_size)) room = 64 * 1024;
    }
}

std::optional<std::string> extendedAttribute(const std::string& path, std::string_view name)
{
    auto qualified = qualifiedAttribute(name);
    std::string value(1024, '\0');
    auto size = ::getxattr(path.c_str(), qualified.c_str(), value.data(), value.size());
    while (size < 0 && errno == ERANGE) {
        value.resize(value.size() * 2);
        size = ::getxattr(path.c_str(), qualified.c_str(), value.data(), value.size());
    }
    if (size < 0) return std::nullopt;
    value.resize(static_cast<std::size_t>(size));
    return value;
}

Status setExtendedAttribute(const std::string& path, std::string_view name, std::string_view value)
{
    auto qualified = qualifiedAttribute(name);
    return statusOf(::setxattr(path.c_str(), qualified.c_str(), value.data(), value.size(), 0), path);
}

Status removeExtendedAttribute(const std::string& path, std::string_view name)
{
    auto qualified = qualifiedAttribute(name);
    if (::removexattr(path.c_str(), qualified.c_str()) != 0 && errno != ENODATA) return posixFailure(errno, path);
    return {};
}

} // namespace tidemark::fs
