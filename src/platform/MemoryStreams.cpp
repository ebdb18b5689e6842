#include <algorithm>
#include <cstring>

#include "platform/Streams.h"

namespace tidemark {

namespace {

class MemoryInputStream : public InputStream
{
public:
    explicit MemoryInputStream(std::shared_ptr<const std::string> bytes) : bytes_(std::move(bytes)) {}

    bool open() override
    {
        status_ = StreamStatus::open;
        return true;
    }

    std::int64_t read(std::span<std::byte> buffer) override
    {
        if (status_ == StreamStatus::atEnd) return 0;
        if (status_ != StreamStatus::open) return -1;
        auto count = std::min(buffer.size(), bytes_->size() - position_);
        if (count > 0) std::memcpy(buffer.data(), bytes_->data() + position_, count);
        position_ += count;
        if (count == 0 && !buffer.empty()) status_ = StreamStatus::atEnd;
        return static_cast<std::int64_t>(count);
    }

    bool hasBytesAvailable() override { return status_ == StreamStatus::open && position_ < bytes_->size(); }
    StreamStatus streamStatus() const override { return status_; }
    void close() override { status_ = StreamStatus::closed; }

    bool rewind() override
    {
        if (status_ == StreamStatus::notOpen || status_ == StreamStatus::closed) return false;
        position_ = 0;
        status_ = StreamStatus::open;
        return true;
    }

private:
    std::shared_ptr<const std::string> bytes_;
    std::size_t position_ = 0;
    StreamStatus status_ = StreamStatus::notOpen;
};

class MemoryOutputStream : public OutputStream
{
public:
    explicit MemoryOutputStream(std::shared_ptr<std::string> target) : target_(std::move(target)) {}

    bool open() override
    {
        status_ = StreamStatus::open;
        return true;
    }

    bool write(std::span<const std::byte> bytes) override
    {
        if (status_ != StreamStatus::open) return false;
        target_->append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
        return true;
    }

    bool close() override
    {
        bool wasOpen = status_ == StreamStatus::open;
        status_ = StreamStatus::closed;
        return wasOpen;
    }

    StreamStatus streamStatus() const override { return status_; }
    const Error* streamError() const override { return nullptr; }

private:
    std::shared_ptr<std::string> target_;
    StreamStatus status_ = StreamStatus::notOpen;
};

} // namespace

std::unique_ptr<InputStream> makeMemoryInputStream(std::shared_ptr<const std::string> bytes)
{
    return std::make_unique<MemoryInputStream>(std::move(bytes));
}

std::unique_ptr<OutputStream> makeMemoryOutputStream(std::shared_ptr<std::string> target)
{
    return std::make_unique<MemoryOutputStream>(std::move(target));
}

} // namespace tidemark
