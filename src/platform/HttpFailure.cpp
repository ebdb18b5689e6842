#include "platform/HttpFailure.h"

#include <cctype>

#include <curl/curl.h>

#include "platform/IdentityStoreDocument.h"

namespace tidemark {

namespace {

HttpStreamFailure kindOf(const HttpTransferEnd& end, const HttpTlsObservation& tls)
{
    switch (end.curlCode) {
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_ISSUER_ERROR:
    case CURLE_SSL_INVALIDCERTSTATUS:
        return HttpStreamFailure::serverCertificateUntrusted;
    case CURLE_SSL_CERTPROBLEM:
        return HttpStreamFailure::clientCertificateRefused;
    case CURLE_SSL_CLIENTCERT:
        return end.hasClientIdentity ? HttpStreamFailure::clientCertificateRefused
                                     : HttpStreamFailure::clientCertificateMissing;
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_RECV_ERROR:
    case CURLE_SEND_ERROR:
        break;
    default:
        return HttpStreamFailure::other;
    }
    // With TLS 1.3 the server's verdict on the client's certificate comes after the handshake, as a failed read, and a
    // server may close before its alert can be read.
    if (end.sawResponse || !tls.certificateRequested) return HttpStreamFailure::other;
    if (!end.hasClientIdentity) return HttpStreamFailure::clientCertificateMissing;
    return tls.alert != HttpTlsObservation::noAlert ? HttpStreamFailure::clientCertificateRefused
                                                    : HttpStreamFailure::other;
}

/// In the form in which a person finds it elsewhere.
std::string shownFingerprint(const std::string& hex)
{
    std::string shown;
    for (std::size_t i = 0; i < hex.size(); ++i) {
        if (i != 0 && i % 2 == 0) shown += ':';
        shown += static_cast<char>(std::toupper(static_cast<unsigned char>(hex[i])));
    }
    return shown;
}

std::shared_ptr<const ServerCertificate> describe(const std::string& pem)
{
    const auto fields = IdentityStoreDocument::readCertificate(pem);
    if (!fields) return nullptr;
    return std::make_shared<ServerCertificate>(ServerCertificate{fields->subject, fields->issuerText, fields->validFrom,
                                                                 fields->expires,
                                                                 shownFingerprint(fields->fingerprint)});
}

} // namespace

HttpStreamError classifyFailure(const HttpTransferEnd& end, const HttpTlsObservation& tls)
{
    HttpStreamError error{kindOf(end, tls), end.curlCode, end.text, nullptr};
    if (error.kind == HttpStreamFailure::serverCertificateUntrusted)
        error.serverCertificate = describe(tls.serverCertificatePem());
    if (error.text.empty()) error.text = curl_easy_strerror(static_cast<CURLcode>(end.curlCode));
    return error;
}

} // namespace tidemark
