#include "security/AdditionCrypto.h"

#include "security/AesCipher.h"

namespace tidemark::AdditionCrypto {

namespace {

constexpr std::string_view settingsKey = "QWZRTPLMKSVHXJDNCGUA";
constexpr std::size_t keyBytes = 32;

std::optional<std::string> transform(std::string_view data, std::string_view key, AesCipher::Direction direction)
{
    const auto text = key.substr(0, key.find('\0'));
    return AesCipher::ecb(AesCipher::paddedKey(text, keyBytes), direction).transform(data);
}

} // namespace

std::optional<std::string> AES256EncryptWithKey(std::string_view data, std::string_view key)
{
    return transform(data, key, AesCipher::Direction::encrypt);
}

std::optional<std::string> AES256DecryptWithKey(std::string_view data, std::string_view key)
{
    return transform(data, key, AesCipher::Direction::decrypt);
}

std::optional<std::string> AES256EncryptWithKeyMarlock(std::string_view data)
{
    return AES256EncryptWithKey(data, settingsKey);
}

std::optional<std::string> AES256DecryptWithKeyMarlock(std::string_view data)
{
    return AES256DecryptWithKey(data, settingsKey);
}

} // namespace tidemark::AdditionCrypto
