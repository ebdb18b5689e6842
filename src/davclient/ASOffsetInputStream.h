#pragma once

#include <cstdint>
#include <memory>

#include "platform/Streams.h"

namespace tidemark {

/// The bytes of another stream from an offset on, however often it starts over. The bytes before it are read and
/// dropped, since an encrypting stream cannot be entered in the middle.
class ASOffsetInputStream : public InputStream
{
public:
    static constexpr const char* readErrorText = "Resume error : RequestStream read error.";

    ASOffsetInputStream(std::unique_ptr<InputStream> source, std::uint64_t offset)
        : source_(std::move(source)), offset_(offset)
    {
    }

    /// False where the source ends before the offset, too.
    bool open() override { return source_->open() && skip(); }
    std::int64_t read(std::span<std::byte> buffer) override { return source_->read(buffer); }
    bool hasBytesAvailable() override { return source_->hasBytesAvailable(); }
    StreamStatus streamStatus() const override { return source_->streamStatus(); }
    void close() override { source_->close(); }
    bool rewind() override { return source_->rewind() && skip(); }

private:
    bool skip();

    std::unique_ptr<InputStream> source_;
    std::uint64_t offset_;
};

} // namespace tidemark
