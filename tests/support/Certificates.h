#pragma once

#include <string>

#include "support/Process.h"

namespace tidemark::testing {

/// PEM files. A certificate file holds the certificate only.
struct CertificateFiles
{
    std::string certificate;
    std::string key;
};

/// Certificates of all kinds, made by the openssl program when they are first asked for. Servers' names are
/// "localhost" and 127.0.0.1 unless said otherwise.
class Certificates
{
public:
    Certificates();

    /// The root (PEM file) that signed those of valid(), expired(), wrongHost() and client().
    std::string authority() { return authority("authority").certificate; }
    /// Another root, which signed stranger().
    std::string otherAuthority() { return authority("other-authority").certificate; }

    CertificateFiles valid() { return issued("valid", "authority", serverNames); }
    CertificateFiles wrongHost() { return issued("wrong-host", "authority", "DNS:elsewhere.example"); }
    CertificateFiles expired();
    CertificateFiles selfSigned();
    /// Of a person.
    CertificateFiles client() { return issued("client", "authority", "email:anna@example.org"); }
    /// Of a person, by the other root.
    CertificateFiles stranger() { return issued("stranger", "other-authority", "email:mallory@example.org"); }

private:
    static constexpr const char* serverNames = "DNS:localhost,IP:127.0.0.1";

    CertificateFiles files(const std::string& name) const;
    CertificateFiles authority(const std::string& name);
    CertificateFiles issued(const std::string& name, const std::string& issuer, const std::string& alternativeNames);

    ServerDirectory directory_;
};

} // namespace tidemark::testing
