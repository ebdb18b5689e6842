#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Dates.h"
#include "platform/HttpStream.h"
#include "platform/Result.h"

namespace tidemark {

/// Client identities (certificate with private key) as files of mode 0600 in a folder of mode 0700. Failures are of
/// domain "Identity"; none carries a passphrase or key. Any thread.
class IdentityStore
{
public:
    enum Code
    {
        /// Neither PKCS#12 nor PEM with a certificate and a key.
        unreadableDocument = 1,
        wrongPassphrase = 2,
        /// No certificate of the document belongs to its key.
        keyMismatch = 3,
        unknownIdentity = 4,
    };

    struct Identity
    {
        /// Opaque; stays the same for the same certificate, across restarts and repeated imports.
        std::string identifier;
        std::string label;
        /// Display name by issuerName(); nothing where the certificate has none.
        std::optional<std::string> issuer;
        std::string subject;
        dates::Time expires;
    };

    struct Listing
    {
        /// By label, then identifier.
        std::vector<Identity> identities;
        /// Paths of files that are no identity.
        std::vector<std::string> unreadable;
    };

    /// One attribute of a distinguished name.
    struct NameEntry
    {
        std::string oid;
        std::string value;
    };

    explicit IdentityStore(std::string folder);

    /// Takes a PKCS#12 or PEM document; `label` "" takes the document's friendly name or the subject's common name.
    /// Replaces an identity of the same certificate.
    Result<Identity> add(std::string_view document, const std::string& passphrase, const std::string& label = {});
    /// A missing folder is an empty store.
    Listing list() const;
    Status remove(const std::string& identifier);
    Result<std::shared_ptr<const ClientIdentityPem>> load(const std::string& identifier) const;

    /// The first common name (2.5.4.3); without one the last organisation (2.5.4.10).
    static std::optional<std::string> issuerName(std::span<const NameEntry> entries);

private:
    std::string pathOf(const std::string& identifier) const;

    std::string folder_;
};

} // namespace tidemark
