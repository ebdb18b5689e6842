#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/FileDescriptor.h"
#include "platform/FileSystem.h"

namespace tidemark::fs {

namespace {

/// The owner removes the file when it lets go, so a lock counts only while the file still has its name.
bool isStillNamed(int file, const std::string& path)
{
    struct stat opened
    {
    };
    struct stat named
    {
    };
    return ::fstat(file, &opened) == 0 && ::stat(path.c_str(), &named) == 0 && opened.st_dev == named.st_dev &&
           opened.st_ino == named.st_ino;
}

int lockFile(int file, int operation)
{
    int result = 0;
    do {
        result = ::flock(file, operation);
    } while (result != 0 && errno == EINTR);
    return result;
}

/// An empty descriptor when somebody else holds the lock and `operation` does not wait.
Result<FileDescriptor> openLocked(const std::string& path, int operation)
{
    while (true) {
        FileDescriptor file(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
        if (!file) return posixFailure(errno, path);
        if (lockFile(file.get(), operation) != 0) {
            if (errno == EWOULDBLOCK) return FileDescriptor();
            return posixFailure(errno, path);
        }
        if (isStillNamed(file.get(), path)) return file;
    }
}

} // namespace

Result<std::unique_ptr<FileLock>> FileLock::tryAcquire(const std::string& path)
{
    auto file = openLocked(path, LOCK_EX | LOCK_NB);
    if (!file) return failure(std::move(file.error()));
    return std::unique_ptr<FileLock>(*file ? new FileLock(file->release(), path) : nullptr);
}

Result<std::unique_ptr<FileLock>> FileLock::acquire(const std::string& path)
{
    auto file = openLocked(path, LOCK_EX);
    if (!file) return failure(std::move(file.error()));
    return std::unique_ptr<FileLock>(new FileLock(file->release(), path));
}

FileLock::FileLock(int descriptor, std::string path) : descriptor_(descriptor), path_(std::move(path)) {}

FileLock::~FileLock()
{
    if (isStillNamed(descriptor_, path_)) ::unlink(path_.c_str());
    ::close(descriptor_);
}

} // namespace tidemark::fs
