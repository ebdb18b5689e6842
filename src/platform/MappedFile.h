#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "platform/Result.h"

namespace tidemark {

/// The content of a file as memory, read by the system page by page as it is looked at. For files that are replaced
/// whole and never cut while somebody reads them.
class MappedFile
{
public:
    /// Fails like an open or a read; an empty file gives no bytes.
    static Result<MappedFile> open(const std::string& path);
    MappedFile(MappedFile&& other) noexcept;
    MappedFile& operator=(MappedFile&&) = delete;
    ~MappedFile();

    std::span<const std::uint8_t> bytes() const { return bytes_; }

private:
    explicit MappedFile(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

    std::span<const std::uint8_t> bytes_;
};

} // namespace tidemark
