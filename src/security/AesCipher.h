#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace tidemark {

/// AES with PKCS#7 padding over one message, fed in pieces of any size.
class AesCipher
{
public:
    enum class Direction
    {
        encrypt,
        decrypt
    };
    static constexpr std::size_t blockSize = 16;
    /// Room that update() and finish() need beyond the bytes put in.
    static constexpr std::size_t slack = 2 * blockSize;

    /// The first `bytes` bytes of `key`, filled up with zero bytes.
    static std::string paddedKey(std::string_view key, std::size_t bytes);

    /// CBC; AES-128 or AES-256 by the length of `key` (16 or 32). The first 16 bytes of the key are the IV.
    static AesCipher cbc(std::string_view key, Direction direction);
    /// ECB, AES-256.
    static AesCipher ecb(std::string_view key, Direction direction);

    AesCipher(AesCipher&&) noexcept;
    AesCipher& operator=(AesCipher&&) noexcept;
    ~AesCipher();

    /// The number of bytes put into `out`, which has room for in.size() + slack; nothing on failure.
    std::optional<std::size_t> update(std::span<const std::byte> in, std::span<std::byte> out);
    /// The last block; nothing where the padding is wrong.
    std::optional<std::size_t> finish(std::span<std::byte> out);
    /// A whole message at once.
    std::optional<std::string> transform(std::string_view message);

private:
    struct State;
    explicit AesCipher(std::unique_ptr<State> state);
    std::unique_ptr<State> state_;
};

} // namespace tidemark
