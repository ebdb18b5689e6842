#include "devserver/File.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace devserver {

namespace {

constexpr std::string_view partialPrefix = ".devserver-partial-";

[[noreturn]] void raise(const std::filesystem::path& path)
{
    throw std::system_error(errno, std::generic_category(), path.string());
}

std::string etagOf(const struct statx& data)
{
    char text[80];
    std::snprintf(text, sizeof text, "\"%llx-%llx-%llx%08x\"", static_cast<unsigned long long>(data.stx_ino),
                  static_cast<unsigned long long>(data.stx_size),
                  static_cast<unsigned long long>(data.stx_mtime.tv_sec), data.stx_mtime.tv_nsec);
    return text;
}

} // namespace

std::optional<FileStatus> fileStatus(const std::filesystem::path& path)
{
    struct statx data
    {
    };
    if (statx(AT_FDCWD, path.c_str(), AT_SYMLINK_NOFOLLOW, STATX_BASIC_STATS | STATX_BTIME, &data) != 0) return {};
    if (!S_ISREG(data.stx_mode) && !S_ISDIR(data.stx_mode)) return {};
    FileStatus status;
    status.folder = S_ISDIR(data.stx_mode);
    status.size = status.folder ? 0 : data.stx_size;
    status.modified = data.stx_mtime.tv_sec;
    status.created = (data.stx_mask & STATX_BTIME) != 0 ? data.stx_btime.tv_sec : data.stx_mtime.tv_sec;
    status.inode = data.stx_ino;
    status.etag = etagOf(data);
    return status;
}

File File::openForReading(const std::filesystem::path& path)
{
    File file;
    file.descriptor_ = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
    if (file.descriptor_ < 0) raise(path);
    return file;
}

File::~File()
{
    if (descriptor_ >= 0) close(descriptor_);
}

File::File(File&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}

File& File::operator=(File&& other) noexcept
{
    std::swap(descriptor_, other.descriptor_);
    return *this;
}

std::size_t File::readAt(std::span<char> buffer, std::uint64_t offset) const
{
    const ssize_t size = pread(descriptor_, buffer.data(), buffer.size(), static_cast<off_t>(offset));
    if (size < 0) throw std::system_error(errno, std::generic_category(), "read");
    return static_cast<std::size_t>(size);
}

std::uint64_t File::size() const
{
    struct stat data
    {
    };
    if (fstat(descriptor_, &data) != 0) throw std::system_error(errno, std::generic_category(), "stat");
    return static_cast<std::uint64_t>(data.st_size);
}

PartialFile::PartialFile(const std::filesystem::path& target) : target_(target)
{
    std::string name = (target.parent_path() / (std::string(partialPrefix) + "XXXXXX")).string();
    file_.descriptor_ = mkostemp(name.data(), O_CLOEXEC);
    if (file_.descriptor_ < 0) raise(target);
    path_ = name;
    fchmod(file_.descriptor_, 0644);
}

PartialFile::~PartialFile()
{
    if (!path_.empty()) unlink(path_.c_str());
}

bool PartialFile::isPartialName(std::string_view name)
{
    return name.starts_with(partialPrefix);
}

void PartialFile::writeAt(std::string_view data, std::uint64_t offset)
{
    while (!data.empty()) {
        const ssize_t size = pwrite(file_.descriptor_, data.data(), data.size(), static_cast<off_t>(offset));
        if (size < 0) raise(path_);
        data.remove_prefix(static_cast<std::size_t>(size));
        offset += static_cast<std::uint64_t>(size);
    }
}

void PartialFile::copyFrom(const std::filesystem::path& file, std::uint64_t length)
{
    const File source = File::openForReading(file);
    std::array<char, 65536> buffer{};
    for (std::uint64_t at = 0; at < length;) {
        const auto wanted = std::min<std::uint64_t>(buffer.size(), length - at);
        const std::size_t size = source.readAt(std::span(buffer).first(wanted), at);
        if (size == 0) return;
        writeAt({buffer.data(), size}, at);
        at += size;
    }
}

void PartialFile::setModified(std::time_t time)
{
    const std::array<timespec, 2> times = {timespec{0, UTIME_OMIT}, timespec{time, 0}};
    if (futimens(file_.descriptor_, times.data()) != 0) raise(path_);
}

void PartialFile::commit()
{
    if (rename(path_.c_str(), target_.c_str()) != 0) raise(target_);
    path_.clear();
}

} // namespace devserver
