#include "devserver/SelfSignedCertificate.h"

#include <memory>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/x509v3.h>
#include <stdexcept>

namespace devserver {

namespace {

template <auto Free>
struct Freeing
{
    void operator()(auto* object) const { Free(object); }
};
using Key = std::unique_ptr<EVP_PKEY, Freeing<EVP_PKEY_free>>;
using Certificate = std::unique_ptr<X509, Freeing<X509_free>>;
using Extension = std::unique_ptr<X509_EXTENSION, Freeing<X509_EXTENSION_free>>;
using Memory = std::unique_ptr<BIO, Freeing<BIO_free_all>>;

void require(bool success, const char* step)
{
    if (!success) throw std::runtime_error(std::string("cannot make a certificate: ") + step);
}

bool isAddress(const std::string& name)
{
    return name.find_first_not_of("0123456789.") == std::string::npos;
}

std::string alternativeNames(const std::vector<std::string>& names)
{
    std::string text;
    for (const auto& name : names)
        text += (text.empty() ? "" : ",") + std::string(isAddress(name) ? "IP:" : "DNS:") + name;
    return text;
}

void addExtension(X509* certificate, int kind, const std::string& value)
{
    X509V3_CTX context;
    X509V3_set_ctx(&context, certificate, certificate, nullptr, nullptr, 0);
    const Extension extension(X509V3_EXT_conf_nid(nullptr, &context, kind, value.c_str()));
    require(extension && X509_add_ext(certificate, extension.get(), -1) == 1, "extension");
}

void setSubject(X509* certificate, const std::string& commonName)
{
    X509_NAME* name = X509_get_subject_name(certificate);
    require(X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_UTF8,
                                       reinterpret_cast<const unsigned char*>(commonName.c_str()), -1, -1, 0) == 1,
            "name");
    X509_set_issuer_name(certificate, name);
}

void setSerial(X509* certificate)
{
    std::uint64_t serial = 0;
    RAND_bytes(reinterpret_cast<unsigned char*>(&serial), sizeof serial);
    ASN1_INTEGER_set_uint64(X509_get_serialNumber(certificate), serial >> 1);
}

template <class Write>
std::string pemText(Write write)
{
    const Memory memory(BIO_new(BIO_s_mem()));
    require(memory && write(memory.get()) == 1, "PEM");
    char* data = nullptr;
    const long size = BIO_get_mem_data(memory.get(), &data);
    return {data, static_cast<std::size_t>(size)};
}

} // namespace

SelfSignedCertificate makeSelfSignedCertificate(const std::vector<std::string>& names, std::int64_t validFrom,
                                                std::int64_t validUntil)
{
    const Key key(EVP_EC_gen("P-256"));
    const Certificate certificate(X509_new());
    require(key && certificate && !names.empty(), "key");
    X509_set_version(certificate.get(), 2);
    setSerial(certificate.get());
    X509_gmtime_adj(X509_getm_notBefore(certificate.get()), static_cast<long>(validFrom));
    X509_gmtime_adj(X509_getm_notAfter(certificate.get()), static_cast<long>(validUntil));
    X509_set_pubkey(certificate.get(), key.get());
    setSubject(certificate.get(), names.front());
    addExtension(certificate.get(), NID_subject_alt_name, alternativeNames(names));
    addExtension(certificate.get(), NID_basic_constraints, "critical,CA:TRUE");
    require(X509_sign(certificate.get(), key.get(), EVP_sha256()) != 0, "signature");
    return {pemText([&](BIO* out) { return PEM_write_bio_X509(out, certificate.get()); }), pemText([&](BIO* out) {
                return PEM_write_bio_PrivateKey(out, key.get(), nullptr, nullptr, 0, nullptr, nullptr);
            })};
}

} // namespace devserver
