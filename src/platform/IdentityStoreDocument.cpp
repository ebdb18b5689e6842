#include "platform/IdentityStoreDocument.h"

#include <algorithm>
#include <chrono>
#include <ctime>
#include <memory>
#include <span>

#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/pkcs12.h>
#include <openssl/provider.h>
#include <openssl/x509.h>

#include "platform/Digest.h"

namespace tidemark::IdentityStoreDocument {

namespace {

template <auto release>
struct Releaser
{
    template <class T>
    void operator()(T* object) const
    {
        release(object);
    }
};

void releaseStack(STACK_OF(X509) * certificates)
{
    sk_X509_pop_free(certificates, X509_free);
}

using Bio = std::unique_ptr<BIO, Releaser<&BIO_free_all>>;
using Certificate = std::unique_ptr<X509, Releaser<&X509_free>>;
using PrivateKey = std::unique_ptr<EVP_PKEY, Releaser<&EVP_PKEY_free>>;
using Pkcs12 = std::unique_ptr<PKCS12, Releaser<&PKCS12_free>>;
using CertificateStack = std::unique_ptr<STACK_OF(X509), Releaser<&releaseStack>>;
using LibraryContext = std::unique_ptr<OSSL_LIB_CTX, Releaser<&OSSL_LIB_CTX_free>>;

Bio makeReader(std::string_view text)
{
    return Bio(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
}

std::string textOf(const Bio& bio)
{
    char* data = nullptr;
    const auto size = BIO_get_mem_data(bio.get(), &data);
    return size > 0 ? std::string(data, static_cast<std::size_t>(size)) : std::string{};
}

std::string certificatePem(X509* certificate)
{
    const Bio out(BIO_new(BIO_s_mem()));
    PEM_write_bio_X509(out.get(), certificate);
    return textOf(out);
}

std::string privateKeyPem(EVP_PKEY* key)
{
    const Bio out(BIO_new(BIO_s_secmem()));
    PEM_write_bio_PrivateKey(out.get(), key, nullptr, nullptr, 0, nullptr, nullptr);
    return textOf(out);
}

tl::unexpected<Error> refused(IdentityStore::Code code)
{
    switch (code) {
    case IdentityStore::unreadableDocument:
        return failure("Identity", code, "The document holds no certificate with a private key.");
    case IdentityStore::wrongPassphrase:
        return failure("Identity", code, "The passphrase is wrong.");
    case IdentityStore::keyMismatch:
        return failure("Identity", code, "No certificate of the document belongs to its private key.");
    case IdentityStore::unknownIdentity:
        break;
    }
    return failure("Identity", code, "There is no such identity.");
}

Contents makeContents(X509* certificate, EVP_PKEY* key)
{
    int length = 0;
    const auto* alias = X509_alias_get0(certificate, &length);
    std::string friendlyName;
    if (alias) friendlyName.assign(reinterpret_cast<const char*>(alias), static_cast<std::size_t>(length));
    return {certificatePem(certificate), privateKeyPem(key), std::move(friendlyName)};
}

/// Documents of older programs are encrypted with what only the library's legacy provider still knows; it is loaded
/// for reading them alone.
struct Pkcs12Libraries
{
    struct Unload
    {
        void operator()(OSSL_PROVIDER* provider) const { OSSL_PROVIDER_unload(provider); }
    };
    using Provider = std::unique_ptr<OSSL_PROVIDER, Unload>;

    LibraryContext context{OSSL_LIB_CTX_new()};
    Provider present{OSSL_PROVIDER_load(context.get(), "default")};
    Provider legacy{OSSL_PROVIDER_load(context.get(), "legacy")};
};

Pkcs12 readPkcs12(const Pkcs12Libraries& libraries, std::string_view document)
{
    PKCS12* container = PKCS12_init_ex(NID_pkcs7_data, libraries.context.get(), nullptr);
    const auto* octets = reinterpret_cast<const unsigned char*>(document.data());
    // Frees the container on failure.
    return Pkcs12(d2i_PKCS12(&container, &octets, static_cast<long>(document.size())));
}

Result<Contents> parsePkcs12(PKCS12* container, const std::string& passphrase)
{
    const bool fits = PKCS12_verify_mac(container, passphrase.c_str(), static_cast<int>(passphrase.size())) == 1 ||
                      (passphrase.empty() && PKCS12_verify_mac(container, nullptr, 0) == 1);
    if (!fits) return refused(IdentityStore::wrongPassphrase);
    EVP_PKEY* key = nullptr;
    X509* certificate = nullptr;
    STACK_OF(X509)* others = nullptr;
    const int parsed = PKCS12_parse(container, passphrase.c_str(), &key, &certificate, &others);
    const PrivateKey keyOwner(key);
    const Certificate certificateOwner(certificate);
    const CertificateStack othersOwner(others);
    if (parsed != 1 || !key) return refused(IdentityStore::unreadableDocument);
    if (!certificate) return refused(IdentityStore::keyMismatch);
    return makeContents(certificate, key);
}

struct Passphrase
{
    const std::string& text;
    bool asked = false;
};

int givePassphrase(char* buffer, int size, int, void* user)
{
    auto& passphrase = *static_cast<Passphrase*>(user);
    passphrase.asked = true;
    if (passphrase.text.size() > static_cast<std::size_t>(size)) return -1;
    std::copy(passphrase.text.begin(), passphrase.text.end(), buffer);
    return static_cast<int>(passphrase.text.size());
}

Certificate certificateOfKey(std::string_view document, EVP_PKEY* key, bool& any)
{
    const auto reader = makeReader(document);
    while (Certificate certificate{PEM_read_bio_X509(reader.get(), nullptr, nullptr, nullptr)}) {
        any = true;
        if (X509_check_private_key(certificate.get(), key) == 1) return certificate;
    }
    return nullptr;
}

Result<Contents> parsePem(std::string_view document, const std::string& passphrase)
{
    Passphrase answer{passphrase};
    const PrivateKey key(PEM_read_bio_PrivateKey(makeReader(document).get(), nullptr, &givePassphrase, &answer));
    if (!key) return refused(answer.asked ? IdentityStore::wrongPassphrase : IdentityStore::unreadableDocument);
    bool any = false;
    const auto certificate = certificateOfKey(document, key.get(), any);
    if (!certificate) return refused(any ? IdentityStore::keyMismatch : IdentityStore::unreadableDocument);
    return makeContents(certificate.get(), key.get());
}

std::string utf8Of(const ASN1_STRING* text)
{
    unsigned char* octets = nullptr;
    const int length = ASN1_STRING_to_UTF8(&octets, text);
    if (length < 0) return {};
    std::string utf8(reinterpret_cast<char*>(octets), static_cast<std::size_t>(length));
    OPENSSL_free(octets);
    return utf8;
}

std::string oidOf(const ASN1_OBJECT* object)
{
    char text[128];
    const int length = OBJ_obj2txt(text, sizeof text, object, 1);
    return length > 0 ? std::string(text) : std::string{};
}

std::vector<IdentityStore::NameEntry> entriesOf(const X509_NAME* name)
{
    std::vector<IdentityStore::NameEntry> entries;
    for (int i = 0; i < X509_NAME_entry_count(name); ++i) {
        const auto* entry = X509_NAME_get_entry(name, i);
        entries.push_back({oidOf(X509_NAME_ENTRY_get_object(entry)), utf8Of(X509_NAME_ENTRY_get_data(entry))});
    }
    return entries;
}

std::string displayName(const X509_NAME* name)
{
    const Bio out(BIO_new(BIO_s_mem()));
    constexpr unsigned long flags = (XN_FLAG_ONELINE | XN_FLAG_DN_REV) & ~ASN1_STRFLGS_ESC_MSB & ~XN_FLAG_SPC_EQ;
    X509_NAME_print_ex(out.get(), name, 0, flags);
    return textOf(out);
}

std::string fingerprintOf(X509* certificate)
{
    unsigned char* octets = nullptr;
    const int length = i2d_X509(certificate, &octets);
    if (length < 0) return {};
    const std::string encoded(reinterpret_cast<char*>(octets), static_cast<std::size_t>(length));
    OPENSSL_free(octets);
    return hexLower(sha256(encoded));
}

dates::Time timeOf(const ASN1_TIME* time)
{
    std::tm fields{};
    if (ASN1_TIME_to_tm(time, &fields) != 1) return {};
    return std::chrono::system_clock::from_time_t(::timegm(&fields));
}

} // namespace

Result<Contents> parse(std::string_view document, const std::string& passphrase)
{
    const Pkcs12Libraries libraries;
    const auto container = readPkcs12(libraries, document);
    auto contents = container ? parsePkcs12(container.get(), passphrase) : parsePem(document, passphrase);
    // What the attempts left in the thread's error queue would be taken for a later operation's.
    ERR_clear_error();
    return contents;
}

std::optional<Fields> readCertificate(std::string_view pem)
{
    const Certificate certificate(PEM_read_bio_X509(makeReader(pem).get(), nullptr, nullptr, nullptr));
    ERR_clear_error();
    if (!certificate) return std::nullopt;
    Fields fields;
    fields.issuer = entriesOf(X509_get_issuer_name(certificate.get()));
    const auto* subject = X509_get_subject_name(certificate.get());
    fields.subject = displayName(subject);
    fields.issuerText = displayName(X509_get_issuer_name(certificate.get()));
    for (const auto& entry : entriesOf(subject))
        if (entry.oid == "2.5.4.3") fields.commonName = entry.value;
    fields.fingerprint = fingerprintOf(certificate.get());
    fields.validFrom = timeOf(X509_get0_notBefore(certificate.get()));
    fields.expires = timeOf(X509_get0_notAfter(certificate.get()));
    return fields;
}

} // namespace tidemark::IdentityStoreDocument
