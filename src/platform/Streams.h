#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "platform/Result.h"

namespace tidemark {

enum class StreamStatus
{
    notOpen,
    open,
    atEnd,
    closed,
    error
};

/// A source of bytes that is read once from front to back. Used by one thread at a time.
class InputStream
{
public:
    virtual ~InputStream() = default;
    virtual bool open() = 0;
    /// The number of bytes put into `buffer`, 0 at the end, -1 on failure.
    virtual std::int64_t read(std::span<std::byte> buffer) = 0;
    virtual bool hasBytesAvailable() = 0;
    virtual StreamStatus streamStatus() const = 0;
    virtual void close() = 0;
    /// Why open() failed, where that is known.
    virtual const Error* streamError() const { return nullptr; }
    /// Starts over from the first byte, for a body that has to be sent again; false where that is not possible.
    virtual bool rewind() = 0;
};

/// A sink of bytes. Nothing is complete before close() has returned true.
class OutputStream
{
public:
    virtual ~OutputStream() = default;
    virtual bool open() = 0;
    /// True when all of `bytes` were accepted.
    virtual bool write(std::span<const std::byte> bytes) = 0;
    virtual bool close() = 0;
    virtual StreamStatus streamStatus() const = 0;
    /// What went wrong, where something did.
    virtual const Error* streamError() const = 0;
};

/// Bytes of a file as they are.
std::unique_ptr<InputStream> makeFileInputStream(std::string path);
/// `append` false truncates. The file is created with mode 0644 less the umask.
std::unique_ptr<OutputStream> makeFileOutputStream(std::string path, bool append);
/// The same for many small pieces: they reach the file in large ones, so a failure may show at a later write or in
/// close(). Destroyed unclosed it still writes what it has.
std::unique_ptr<OutputStream> makeBufferedFileOutputStream(std::string path, bool append);
/// `bytes` is shared, not copied.
std::unique_ptr<InputStream> makeMemoryInputStream(std::shared_ptr<const std::string> bytes);
std::unique_ptr<OutputStream> makeMemoryOutputStream(std::shared_ptr<std::string> target);

} // namespace tidemark
