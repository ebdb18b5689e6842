#include "devserver/TlsContext.h"

#include "devserver/SelfSignedCertificate.h"

#include <fstream>
#include <iterator>
#include <stdexcept>

namespace devserver {

namespace {

namespace ssl = boost::asio::ssl;

std::string readFile(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file) throw std::runtime_error("cannot read " + path.string());
    return {std::istreambuf_iterator<char>(file), {}};
}

int protocolVersion(TlsVersion version)
{
    switch (version) {
    case TlsVersion::Tls12:
        return TLS1_2_VERSION;
    case TlsVersion::Tls13:
        return TLS1_3_VERSION;
    }
    return 0;
}

} // namespace

TlsContext::TlsContext(const TlsOptions& options) : context_(ssl::context::tls_server)
{
    limitVersions(options);
    useCertificate(options);
    if (options.requireClientCertificate) demandClientCertificate(options);
}

void TlsContext::limitVersions(const TlsOptions& options)
{
    SSL_CTX_set_min_proto_version(context_.native_handle(), protocolVersion(options.minimum));
    SSL_CTX_set_max_proto_version(context_.native_handle(), protocolVersion(options.maximum));
    static constexpr unsigned char sessionContext[] = "devserver";
    SSL_CTX_set_session_id_context(context_.native_handle(), sessionContext, sizeof sessionContext - 1);
}

void TlsContext::useCertificate(const TlsOptions& options)
{
    std::string key;
    if (options.certificateFile.empty()) {
        auto made = makeSelfSignedCertificate(options.names, options.validFrom, options.validUntil);
        certificatePem_ = std::move(made.certificatePem);
        key = std::move(made.keyPem);
    } else {
        certificatePem_ = readFile(options.certificateFile);
        key = readFile(options.keyFile.empty() ? options.certificateFile : options.keyFile);
    }
    context_.use_certificate_chain(boost::asio::buffer(certificatePem_));
    context_.use_private_key(boost::asio::buffer(key), ssl::context::pem);
}

void TlsContext::demandClientCertificate(const TlsOptions& options)
{
    const std::string authorities = readFile(options.clientAuthorities);
    context_.set_verify_mode(ssl::verify_peer | ssl::verify_fail_if_no_peer_cert);
    context_.add_certificate_authority(boost::asio::buffer(authorities));
    // Tells clients which certificates are welcome.
    SSL_CTX_set_client_CA_list(context_.native_handle(), SSL_load_client_CA_file(options.clientAuthorities.c_str()));
}

} // namespace devserver
