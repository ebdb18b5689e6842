#include "platform/Digest.h"

#include <openssl/evp.h>
#include <openssl/rand.h>
#include <openssl/sha.h>

#include <algorithm>
#include <stdexcept>

namespace tidemark {

namespace {

void require(int result, const char* what)
{
    if (result != 1) throw std::runtime_error(what);
}

const unsigned char* octets(const void* bytes)
{
    return static_cast<const unsigned char*>(bytes);
}

/// Four characters at a time of the alphabet, "=" only as the last one or two.
bool isBase64(std::string_view text)
{
    if (text.size() % 4 != 0) return false;
    for (int i = 0; i < 2 && !text.empty() && text.back() == '='; ++i)
        text.remove_suffix(1);
    return std::all_of(text.begin(), text.end(), [](char c) {
        return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '+' || c == '/';
    });
}

} // namespace

struct Md5::State
{
    std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context{EVP_MD_CTX_new(), &EVP_MD_CTX_free};
};

Md5::Md5() : state_(std::make_unique<State>())
{
    require(EVP_DigestInit_ex(state_->context.get(), EVP_md5(), nullptr), "MD5 is not available");
}

Md5::~Md5() = default;

void Md5::update(std::span<const std::byte> bytes)
{
    require(EVP_DigestUpdate(state_->context.get(), bytes.data(), bytes.size()), "MD5 failed");
}

std::array<std::byte, 16> Md5::finish()
{
    std::array<std::byte, 16> digest{};
    require(EVP_DigestFinal_ex(state_->context.get(), reinterpret_cast<unsigned char*>(digest.data()), nullptr),
            "MD5 failed");
    return digest;
}

std::array<std::byte, 32> sha256(std::string_view bytes)
{
    std::array<std::byte, 32> digest{};
    SHA256(octets(bytes.data()), bytes.size(), reinterpret_cast<unsigned char*>(digest.data()));
    return digest;
}

std::string base64Encode(std::span<const std::byte> bytes)
{
    // The library writes a NUL behind the text: that is the string's own.
    std::string text((bytes.size() + 2) / 3 * 4, '\0');
    EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()), octets(bytes.data()),
                    static_cast<int>(bytes.size()));
    return text;
}

std::optional<std::string> base64Decode(std::string_view text)
{
    if (!isBase64(text)) return std::nullopt;
    std::string bytes(text.size() / 4 * 3, '\0');
    auto length = EVP_DecodeBlock(reinterpret_cast<unsigned char*>(bytes.data()), octets(text.data()),
                                  static_cast<int>(text.size()));
    if (length < 0) return std::nullopt;
    auto padding = text.size() - std::min(text.size(), text.find('='));
    bytes.resize(static_cast<std::size_t>(length) - padding);
    return bytes;
}

std::string hexLower(std::span<const std::byte> bytes)
{
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    text.reserve(bytes.size() * 2);
    for (auto byte : bytes) {
        text += digits[std::to_integer<unsigned>(byte >> 4)];
        text += digits[std::to_integer<unsigned>(byte & std::byte{15})];
    }
    return text;
}

std::string makeUuid()
{
    std::array<std::byte, 16> bytes{};
    require(RAND_bytes(reinterpret_cast<unsigned char*>(bytes.data()), static_cast<int>(bytes.size())),
            "no random numbers");
    bytes[6] = (bytes[6] & std::byte{0x0f}) | std::byte{0x40};
    bytes[8] = (bytes[8] & std::byte{0x3f}) | std::byte{0x80};
    auto text = hexLower(bytes);
    for (auto& c : text)
        if (c >= 'a') c = static_cast<char>(c - 'a' + 'A');
    for (std::size_t position : {8, 13, 18, 23})
        text.insert(position, 1, '-');
    return text;
}

} // namespace tidemark
