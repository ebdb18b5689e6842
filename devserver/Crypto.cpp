#include "devserver/Crypto.h"

#include <array>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/rand.h>
#include <stdexcept>
#include <vector>

namespace devserver {

namespace {

std::string hex(const unsigned char* bytes, std::size_t size)
{
    static constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (std::size_t i = 0; i < size; ++i)
        text += {digits[bytes[i] >> 4], digits[bytes[i] & 15]};
    return text;
}

} // namespace

struct Md5::Context
{
    EVP_MD_CTX* handle = EVP_MD_CTX_new();
    ~Context() { EVP_MD_CTX_free(handle); }
};

Md5::Md5() : context_(std::make_unique<Context>())
{
    if (EVP_DigestInit_ex(context_->handle, EVP_md5(), nullptr) != 1) throw std::runtime_error("MD5 is not available");
}

Md5::~Md5() = default;

void Md5::update(std::string_view data)
{
    EVP_DigestUpdate(context_->handle, data.data(), data.size());
}

std::string Md5::finishHex()
{
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned size = 0;
    EVP_DigestFinal_ex(context_->handle, digest.data(), &size);
    return hex(digest.data(), size);
}

std::string md5Hex(std::string_view data)
{
    Md5 digest;
    digest.update(data);
    return digest.finishHex();
}

std::string randomHex(std::size_t bytes)
{
    std::vector<unsigned char> random(bytes);
    if (RAND_bytes(random.data(), static_cast<int>(bytes)) != 1) throw std::runtime_error("no random bytes");
    return hex(random.data(), bytes);
}

std::optional<std::string> base64Decoded(std::string_view text)
{
    if (text.empty() || text.size() % 4 != 0) return std::nullopt;
    std::string result(text.size() / 4 * 3, '\0');
    const int size =
        EVP_DecodeBlock(reinterpret_cast<unsigned char*>(result.data()),
                        reinterpret_cast<const unsigned char*>(text.data()), static_cast<int>(text.size()));
    if (size < 0) return std::nullopt;
    const auto padding = text.ends_with("==") ? 2U : text.ends_with("=") ? 1U : 0U;
    result.resize(static_cast<std::size_t>(size) - padding);
    return result;
}

bool equalInConstantTime(std::string_view a, std::string_view b)
{
    return a.size() == b.size() && CRYPTO_memcmp(a.data(), b.data(), a.size()) == 0;
}

} // namespace devserver
