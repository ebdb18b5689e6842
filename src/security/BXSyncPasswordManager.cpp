#include "security/BXSyncPasswordManager.h"

#include <span>

#include "platform/Digest.h"
#include "platform/Unicode.h"
#include "security/AdditionCrypto.h"

namespace tidemark {

std::string BXSyncPasswordManager::encrypt(const std::string& plain) const
{
    if (plain.empty()) return {};
    const auto encrypted = AdditionCrypto::AES256EncryptWithKeyMarlock(plain);
    return encrypted ? base64Encode(std::as_bytes(std::span(*encrypted))) : std::string{};
}

std::string BXSyncPasswordManager::decrypt(const std::string& stored) const
{
    if (stored.empty()) return {};
    const auto encrypted = base64Decode(stored);
    auto plain = encrypted ? AdditionCrypto::AES256DecryptWithKeyMarlock(*encrypted) : std::nullopt;
    return plain && isUtf8(*plain) ? std::move(*plain) : std::string{};
}

} // namespace tidemark
