#include "security/BXSyncAESTool.h"

#include <algorithm>
#include <span>

#include "platform/Digest.h"
#include "security/AesCipher.h"

namespace tidemark {

namespace {

constexpr std::string_view checkKey = "Vantorx KX4491 Probe";
constexpr std::size_t keyBytes = 16;

} // namespace

std::string BXSyncAESTool::stringEncrypt(std::string_view text, std::string_view encryptKey)
{
    auto cipher = AesCipher::cbc(AesCipher::paddedKey(encryptKey, keyBytes), AesCipher::Direction::encrypt);
    const auto encrypted = cipher.transform(text).value_or(std::string{});
    auto encoded = base64Encode(std::as_bytes(std::span(encrypted)));
    std::replace(encoded.begin(), encoded.end(), '/', '_');
    std::replace(encoded.begin(), encoded.end(), '+', '-');
    return encoded;
}

std::string BXSyncAESTool::keyCheckValue(std::string_view encryptKey)
{
    return base64Encode(sha256(stringEncrypt(encryptKey, checkKey)));
}

} // namespace tidemark
