#pragma once

#include <optional>
#include <string>
#include <string_view>

/// Short pieces of data under a key text: AES-256, ECB, PKCS#7 padding. Nothing on failure.
namespace tidemark::AdditionCrypto {

/// The key is the text's bytes up to 32 (and up to a NUL), filled up with zero bytes.
std::optional<std::string> AES256EncryptWithKey(std::string_view data, std::string_view key);
std::optional<std::string> AES256DecryptWithKey(std::string_view data, std::string_view key);

/// With the fixed settings key, the same in every installation: obscured, not protected.
std::optional<std::string> AES256EncryptWithKeyMarlock(std::string_view data);
std::optional<std::string> AES256DecryptWithKeyMarlock(std::string_view data);

} // namespace tidemark::AdditionCrypto
