#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "platform/FileDescriptor.h"
#include "platform/FileSystem.h"

namespace tidemark::fs {

namespace {

Status writeAll(int file, std::string_view bytes, const std::string& path)
{
    while (!bytes.empty()) {
        auto count = ::write(file, bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return posixFailure(errno, path);
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return {};
}

Status flushFolder(const std::string& path)
{
    auto name = parentPath(path);
    FileDescriptor folder(::open(name.empty() ? "." : name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder) return posixFailure(errno, path);
    // Some file systems have nothing to flush for a folder and say EINVAL.
    if (::fsync(folder.get()) != 0 && errno != EINVAL) return posixFailure(errno, path);
    return {};
}

} // namespace

struct DurableReplacement::State
{
    std::string target;
    std::string temporary;
    FileDescriptor file;
    std::string buffer;
    Status failed;

    ~State()
    {
        if (!temporary.empty()) ::unlink(temporary.c_str());
    }

    Status flushBuffer()
    {
        if (failed) failed = writeAll(file.get(), buffer, target);
        buffer.clear();
        return failed;
    }
};

DurableReplacement::DurableReplacement(std::unique_ptr<State> state) : state_(std::move(state)) {}
DurableReplacement::DurableReplacement(DurableReplacement&&) noexcept = default;
DurableReplacement& DurableReplacement::operator=(DurableReplacement&&) noexcept = default;
DurableReplacement::~DurableReplacement() = default;

Result<DurableReplacement> DurableReplacement::begin(const std::string& target, unsigned mode)
{
    auto state = std::make_unique<State>();
    state->target = target;
    auto temporary = joinPath(parentPath(target), ".tidemark-XXXXXX");
    state->file = FileDescriptor(::mkostemp(temporary.data(), O_CLOEXEC));
    if (!state->file) return posixFailure(errno, target);
    state->temporary = temporary;
    if (::fchmod(state->file.get(), mode) != 0) return posixFailure(errno, target);
    return DurableReplacement(std::move(state));
}

Status DurableReplacement::write(std::string_view bytes)
{
    constexpr std::size_t bufferSize = 256 * 1024;
    state_->buffer += bytes;
    return state_->buffer.size() < bufferSize ? state_->failed : state_->flushBuffer();
}

// The target is always a whole file, the old one or the new one: the new content is on the disk before its name is,
// and the name is on the disk before commit() says so.
Status DurableReplacement::commit()
{
    if (auto written = state_->flushBuffer(); !written) return written;
    if (::fsync(state_->file.get()) != 0 || !state_->file.reset()) return posixFailure(errno, state_->target);
    if (::rename(state_->temporary.c_str(), state_->target.c_str()) != 0) return posixFailure(errno, state_->target);
    state_->temporary.clear();
    return flushFolder(state_->target);
}

Status flushFileSystem(const std::string& folder)
{
    const FileDescriptor opened(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!opened || ::syncfs(opened.get()) != 0) return posixFailure(errno, folder);
    return {};
}

Status replaceFile(const std::string& path, std::string_view content, unsigned mode)
{
    auto replacement = DurableReplacement::begin(path, mode);
    if (!replacement) return failure(std::move(replacement.error()));
    if (auto written = replacement->write(content); !written) return written;
    return replacement->commit();
}

} // namespace tidemark::fs
