#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/Streams.h"
#include "security/AesCipher.h"

namespace tidemark {

/// Writes what it is given, encrypted or decrypted, to a file that it truncates; the format is that of
/// BXSyncAESInputStream. At most one block is held back between writes. Failures of the file are reported, a wrong
/// key is not: the file then holds garbage or lacks its last block.
class BXSyncAESOutputStream : public OutputStream
{
public:
    BXSyncAESOutputStream(std::string path, std::string encryptKey, bool modeDecrypt);
    ~BXSyncAESOutputStream() override;

    bool open() override;
    bool write(std::span<const std::byte> bytes) override;
    /// Writes the last block; the file is complete only after it.
    bool close() override;
    StreamStatus streamStatus() const override;
    const Error* streamError() const override;

private:
    bool writePiece(std::span<const std::byte> bytes);

    std::unique_ptr<OutputStream> os_;
    std::string encryptKey_;
    AesCipher::Direction mode_;
    std::optional<AesCipher> cryptor_;
    std::vector<std::byte> transformed_;
};

} // namespace tidemark
