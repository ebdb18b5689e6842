#include "platform/MappedFile.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <cerrno>
#include <utility>

#include "platform/FileDescriptor.h"

namespace tidemark {

Result<MappedFile> MappedFile::open(const std::string& path)
{
    FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status
    {
    };
    if (!file || ::fstat(file.get(), &status) != 0) return posixFailure(errno, path);
    if (!S_ISREG(status.st_mode)) return posixFailure(S_ISDIR(status.st_mode) ? EISDIR : EINVAL, path);
    auto size = static_cast<std::size_t>(status.st_size);
    if (size == 0) return MappedFile({});
    void* address = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file.get(), 0);
    if (address == MAP_FAILED) return posixFailure(errno, path);
    return MappedFile({static_cast<const std::uint8_t*>(address), size});
}

MappedFile::MappedFile(MappedFile&& other) noexcept : bytes_(std::exchange(other.bytes_, {})) {}

MappedFile::~MappedFile()
{
    if (!bytes_.empty()) ::munmap(const_cast<std::uint8_t*>(bytes_.data()), bytes_.size());
}

} // namespace tidemark
