#pragma once

#include <cstdint>
#include <ctime>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace devserver {

// What a listing and the headers need of a file or folder.
struct FileStatus
{
    bool folder = false;
    std::uint64_t size = 0;
    std::time_t modified = 0;
    std::time_t created = 0; // the birth time where the file system knows it, else the modification time
    std::uint64_t inode = 0;
    std::string etag; // with its quotes
};

// Nothing when there is none, or it is neither file nor folder. Links are not followed.
std::optional<FileStatus> fileStatus(const std::filesystem::path& path);

// An open file; owns its descriptor. Failures are std::system_error.
class File
{
public:
    File() = default;
    static File openForReading(const std::filesystem::path& path);
    ~File();
    File(File&& other) noexcept;
    File& operator=(File&& other) noexcept;

    std::size_t readAt(std::span<char> buffer, std::uint64_t offset) const;
    std::uint64_t size() const;

private:
    friend class PartialFile;
    int descriptor_ = -1;
};

// A file that is written beside its target and takes its place with commit(). Without commit() it is removed.
class PartialFile
{
public:
    explicit PartialFile(const std::filesystem::path& target);
    ~PartialFile();
    PartialFile(const PartialFile&) = delete;
    PartialFile& operator=(const PartialFile&) = delete;

    static bool isPartialName(std::string_view name);

    const std::filesystem::path& path() const { return path_; }
    void writeAt(std::string_view data, std::uint64_t offset);
    // The first `length` bytes of the file, or all of it where it is shorter.
    void copyFrom(const std::filesystem::path& file, std::uint64_t length);
    void setModified(std::time_t time);
    void commit();

private:
    std::filesystem::path target_;
    std::filesystem::path path_;
    File file_;
};

} // namespace devserver
