#include "security/AesCipher.h"

#include <algorithm>
#include <new>
#include <stdexcept>

#include <openssl/evp.h>

namespace tidemark {

namespace {

struct ContextDeleter
{
    void operator()(EVP_CIPHER_CTX* context) const { EVP_CIPHER_CTX_free(context); }
};

unsigned char* asOctets(std::byte* bytes)
{
    return reinterpret_cast<unsigned char*>(bytes);
}
const unsigned char* asOctets(const std::byte* bytes)
{
    return reinterpret_cast<const unsigned char*>(bytes);
}
const unsigned char* asOctets(std::string_view text)
{
    return reinterpret_cast<const unsigned char*>(text.data());
}

} // namespace

struct AesCipher::State
{
    std::unique_ptr<EVP_CIPHER_CTX, ContextDeleter> context;

    State(const EVP_CIPHER* cipher, std::string_view key, std::string_view iv, Direction direction)
        : context(EVP_CIPHER_CTX_new())
    {
        if (!context) throw std::bad_alloc();
        const int encrypting = direction == Direction::encrypt ? 1 : 0;
        const unsigned char* ivOctets = iv.empty() ? nullptr : asOctets(iv);
        if (EVP_CipherInit_ex(context.get(), cipher, nullptr, asOctets(key), ivOctets, encrypting) != 1)
            throw std::runtime_error("AES is not available");
    }
};

AesCipher::AesCipher(std::unique_ptr<State> state) : state_(std::move(state)) {}
AesCipher::AesCipher(AesCipher&&) noexcept = default;
AesCipher& AesCipher::operator=(AesCipher&&) noexcept = default;
AesCipher::~AesCipher() = default;

std::string AesCipher::paddedKey(std::string_view key, std::size_t bytes)
{
    std::string padded(key.substr(0, bytes));
    padded.resize(bytes, '\0');
    return padded;
}

AesCipher AesCipher::cbc(std::string_view key, Direction direction)
{
    const EVP_CIPHER* cipher = key.size() == blockSize ? EVP_aes_128_cbc() : EVP_aes_256_cbc();
    return AesCipher(std::make_unique<State>(cipher, key, key.substr(0, blockSize), direction));
}

AesCipher AesCipher::ecb(std::string_view key, Direction direction)
{
    return AesCipher(std::make_unique<State>(EVP_aes_256_ecb(), key, std::string_view{}, direction));
}

std::optional<std::size_t> AesCipher::update(std::span<const std::byte> in, std::span<std::byte> out)
{
    int written = 0;
    if (EVP_CipherUpdate(state_->context.get(), asOctets(out.data()), &written, asOctets(in.data()),
                         static_cast<int>(in.size())) != 1)
        return std::nullopt;
    return static_cast<std::size_t>(written);
}

std::optional<std::size_t> AesCipher::finish(std::span<std::byte> out)
{
    int written = 0;
    if (EVP_CipherFinal_ex(state_->context.get(), asOctets(out.data()), &written) != 1) return std::nullopt;
    return static_cast<std::size_t>(written);
}

std::optional<std::string> AesCipher::transform(std::string_view message)
{
    std::string result(message.size() + slack, '\0');
    const auto out = std::as_writable_bytes(std::span(result));
    const auto body = update(std::as_bytes(std::span(message)), out);
    const auto tail = body ? finish(out.subspan(*body)) : std::nullopt;
    if (!tail) return std::nullopt;
    result.resize(*body + *tail);
    return result;
}

} // namespace tidemark
