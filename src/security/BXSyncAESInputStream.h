#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/Streams.h"
#include "security/AesCipher.h"

namespace tidemark {

/// Yields the bytes of a file encrypted or decrypted: AES-256, CBC, PKCS#7 padding, one message, nothing else. The key
/// is the first 32 bytes of `encryptKey` filled up with zero bytes, its first 16 bytes are the IV.
///
/// Memory: what one read asks for, at most pieceLimit, and its unread tail.
class BXSyncAESInputStream : public InputStream
{
public:
    BXSyncAESInputStream(std::string path, std::string encryptKey, bool modeDecrypt);

    bool open() override;
    /// -1 when nothing is left, as well as on a read error. A wrong key is not noticed; with one, the last block may
    /// be missing.
    std::int64_t read(std::span<std::byte> buffer) override;
    bool hasBytesAvailable() override;
    /// Open while bytes are left to hand out, whatever the state of the file.
    StreamStatus streamStatus() const override;
    void close() override;
    bool rewind() override;

    /// The length of the encrypted form of `plainLength` bytes.
    static std::int64_t encryptedLength(std::int64_t plainLength);

private:
    static constexpr std::size_t pieceLimit = 256 * 1024;

    void startCipher();
    std::size_t takeCached(std::span<std::byte> buffer);
    bool transformPiece(std::size_t wanted);
    void finishCipher();

    std::unique_ptr<InputStream> is_;
    std::string encryptKey_;
    AesCipher::Direction mode_;
    std::optional<AesCipher> cryptor_;
    std::vector<std::byte> piece_;
    std::vector<std::byte> outCacheData_;
    std::size_t cacheBegin_ = 0;
    std::size_t cacheEnd_ = 0;
    bool failed_ = false;
};

} // namespace tidemark
