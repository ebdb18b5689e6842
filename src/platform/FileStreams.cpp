#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <optional>
#include <vector>

#include "platform/FileDescriptor.h"
#include "platform/Streams.h"

namespace tidemark {

namespace {

/// Opens without waiting for the other end of a pipe; anything but a regular file is refused.
Result<FileDescriptor> openRegularFile(const std::string& path, int flags)
{
    FileDescriptor file(::open(path.c_str(), flags | O_CLOEXEC | O_NONBLOCK, 0644));
    struct stat status
    {
    };
    if (!file || ::fstat(file.get(), &status) != 0) return posixFailure(errno, path);
    if (!S_ISREG(status.st_mode)) return posixFailure(S_ISDIR(status.st_mode) ? EISDIR : EINVAL, path);
    return file;
}

class FileInputStream : public InputStream
{
public:
    explicit FileInputStream(std::string path) : path_(std::move(path)) {}

    bool open() override
    {
        auto file = openRegularFile(path_, O_RDONLY);
        status_ = file ? StreamStatus::open : StreamStatus::error;
        if (file)
            file_ = std::move(*file);
        else
            error_ = std::move(file.error());
        return status_ == StreamStatus::open;
    }

    std::int64_t read(std::span<std::byte> buffer) override
    {
        if (status_ == StreamStatus::atEnd) return 0;
        if (status_ != StreamStatus::open) return -1;
        ssize_t count = 0;
        do {
            count = ::read(file_.get(), buffer.data(), buffer.size());
        } while (count < 0 && errno == EINTR);
        if (count < 0) status_ = StreamStatus::error;
        if (count == 0 && !buffer.empty()) status_ = StreamStatus::atEnd;
        return count;
    }

    bool hasBytesAvailable() override { return status_ == StreamStatus::open; }
    StreamStatus streamStatus() const override { return status_; }
    const Error* streamError() const override { return error_ ? &*error_ : nullptr; }

    void close() override
    {
        file_.reset();
        status_ = StreamStatus::closed;
    }

    bool rewind() override
    {
        if (!file_ || ::lseek(file_.get(), 0, SEEK_SET) != 0) return false;
        status_ = StreamStatus::open;
        return true;
    }

private:
    std::string path_;
    FileDescriptor file_;
    StreamStatus status_ = StreamStatus::notOpen;
    std::optional<Error> error_;
};

class FileOutputStream : public OutputStream
{
public:
    FileOutputStream(std::string path, bool append) : path_(std::move(path)), append_(append) {}

    bool open() override
    {
        auto file = openRegularFile(path_, O_WRONLY | O_CREAT | (append_ ? O_APPEND : O_TRUNC));
        if (!file) return fail(std::move(file.error()));
        file_ = std::move(*file);
        status_ = StreamStatus::open;
        return true;
    }

    bool write(std::span<const std::byte> bytes) override
    {
        if (status_ != StreamStatus::open) return false;
        while (!bytes.empty()) {
            auto count = ::write(file_.get(), bytes.data(), bytes.size());
            if (count < 0 && errno == EINTR) continue;
            if (count < 0) return failWithErrno();
            bytes = bytes.subspan(static_cast<std::size_t>(count));
        }
        return true;
    }

    bool close() override
    {
        bool wasOpen = status_ == StreamStatus::open;
        if (!file_.reset() && wasOpen) return failWithErrno();
        if (wasOpen) status_ = StreamStatus::closed;
        return wasOpen;
    }

    StreamStatus streamStatus() const override { return status_; }
    const Error* streamError() const override { return error_ ? &*error_ : nullptr; }

private:
    bool failWithErrno() { return fail(std::move(posixFailure(errno, path_).value())); }

    bool fail(Error error)
    {
        error_ = std::move(error);
        status_ = StreamStatus::error;
        return false;
    }

    std::string path_;
    bool append_;
    FileDescriptor file_;
    StreamStatus status_ = StreamStatus::notOpen;
    std::optional<Error> error_;
};

/// Whole pages at page boundaries cost the system much less than pieces that straddle them.
class BufferedOutputStream : public OutputStream
{
public:
    explicit BufferedOutputStream(std::unique_ptr<OutputStream> target) : target_(std::move(target)) {}
    ~BufferedOutputStream() override { flush(); }

    bool open() override { return target_->open(); }

    bool write(std::span<const std::byte> bytes) override
    {
        if (target_->streamStatus() != StreamStatus::open) return false;
        while (!bytes.empty()) {
            const auto piece = bytes.first(std::min(bytes.size(), capacity - buffer_.size()));
            buffer_.insert(buffer_.end(), piece.begin(), piece.end());
            bytes = bytes.subspan(piece.size());
            if (buffer_.size() == capacity && !flush()) return false;
        }
        return true;
    }

    bool close() override
    {
        const bool flushed = flush();
        return target_->close() && flushed;
    }

    StreamStatus streamStatus() const override { return target_->streamStatus(); }
    const Error* streamError() const override { return target_->streamError(); }

private:
    static constexpr std::size_t capacity = 128 * 1024;

    bool flush()
    {
        const bool written = buffer_.empty() || target_->write(buffer_);
        buffer_.clear();
        return written;
    }

    std::unique_ptr<OutputStream> target_;
    std::vector<std::byte> buffer_;
};

} // namespace

std::unique_ptr<InputStream> makeFileInputStream(std::string path)
{
    return std::make_unique<FileInputStream>(std::move(path));
}

std::unique_ptr<OutputStream> makeBufferedFileOutputStream(std::string path, bool append)
{
    return std::make_unique<BufferedOutputStream>(makeFileOutputStream(std::move(path), append));
}

std::unique_ptr<OutputStream> makeFileOutputStream(std::string path, bool append)
{
    return std::make_unique<FileOutputStream>(std::move(path), append);
}

} // namespace tidemark
