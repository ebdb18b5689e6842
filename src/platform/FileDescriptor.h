#pragma once

#include <dirent.h>
#include <unistd.h>

#include <memory>
#include <utility>

namespace tidemark {

/// Owns an open file descriptor.
class FileDescriptor
{
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int value) : value_(value) {}
    FileDescriptor(FileDescriptor&& other) noexcept : value_(other.release()) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept
    {
        reset(other.release());
        return *this;
    }
    ~FileDescriptor() { reset(); }

    int get() const { return value_; }
    explicit operator bool() const { return value_ >= 0; }
    int release() { return std::exchange(value_, -1); }
    /// False when the system reports that closing lost something (errno says what).
    bool reset(int value = -1)
    {
        int old = std::exchange(value_, value);
        return old < 0 || ::close(old) == 0;
    }

private:
    int value_ = -1;
};

struct FolderCloser
{
    void operator()(DIR* folder) const { ::closedir(folder); }
};

/// Owns a folder that is being read.
using OpenFolder = std::unique_ptr<DIR, FolderCloser>;

} // namespace tidemark
