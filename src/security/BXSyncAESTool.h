#pragma once

#include <string>
#include <string_view>

namespace tidemark {

class BXSyncAESTool
{
public:
    /// AES-128, CBC, PKCS#7; key and IV are the first 16 bytes of `encryptKey` filled up with zero bytes. The result
    /// is Base64 with "_" for "/" and "-" for "+".
    static std::string stringEncrypt(std::string_view text, std::string_view encryptKey);

    /// The value under "encryptsha" for an encryption key: equal values mean equal keys, and the key cannot be read
    /// from it.
    static std::string keyCheckValue(std::string_view encryptKey);
};

} // namespace tidemark
