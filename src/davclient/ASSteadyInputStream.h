#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "platform/FileSystem.h"
#include "platform/Streams.h"

namespace tidemark {

/// The bytes of a stream over a file, of which the last ones are given out only while the file is still what it was
/// when the stream was first opened, in size and time, and as long as was announced. Whoever announces the length first
/// never gets the whole of a mixture of two contents.
class ASSteadyInputStream : public InputStream
{
public:
    /// `length`: of what `source` yields. `path`: the file that it reads, which was of `fileLength` bytes when the
    /// length was announced.
    ASSteadyInputStream(std::unique_ptr<InputStream> source, std::string path, std::uint64_t length,
                        std::int64_t fileLength)
        : source_(std::move(source)), path_(std::move(path)), length_(length), fileLength_(fileLength)
    {
    }

    bool open() override;
    /// -1 in place of the last bytes where the file has changed.
    std::int64_t read(std::span<std::byte> buffer) override;
    bool hasBytesAvailable() override { return !changed_ && source_->hasBytesAvailable(); }
    StreamStatus streamStatus() const override { return changed_ ? StreamStatus::error : source_->streamStatus(); }
    void close() override { source_->close(); }
    bool rewind() override;

private:
    void begin();
    bool isUnchanged() const;

    std::unique_ptr<InputStream> source_;
    const std::string path_;
    const std::uint64_t length_;
    const std::int64_t fileLength_;
    std::optional<fs::Attributes> before_;
    std::uint64_t count_ = 0;
    bool changed_ = false;
};

} // namespace tidemark
