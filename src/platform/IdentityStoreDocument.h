#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/IdentityStore.h"

/// What the identity store reads out of documents and certificates.
namespace tidemark::IdentityStoreDocument {

/// One identity, both texts PEM; the key without passphrase.
struct Contents
{
    std::string certificate;
    std::string privateKey;
    /// "" for none.
    std::string friendlyName;
};

/// A PKCS#12 or PEM document; of several certificates the one that belongs to the key.
Result<Contents> parse(std::string_view document, const std::string& passphrase);

struct Fields
{
    std::vector<IdentityStore::NameEntry> issuer;
    /// "CN=…, O=…", most specific part first.
    std::string subject;
    /// In the same form.
    std::string issuerText;
    std::string commonName;
    /// SHA-256 of the certificate in lower-case hexadecimal digits.
    std::string fingerprint;
    dates::Time validFrom;
    dates::Time expires;
};

std::optional<Fields> readCertificate(std::string_view pem);

} // namespace tidemark::IdentityStoreDocument
