#pragma once

#include <atomic>
#include <memory>
#include <string>

namespace tidemark {

/// What the handshake of a TLS connection showed that libcurl's error codes do not tell apart.
struct HttpTlsObservation
{
    static constexpr int noAlert = -1;

    /// The server asked for a client certificate.
    std::atomic<bool> certificateRequested = false;
    /// The last fatal alert that the server sent.
    std::atomic<int> alert = noAlert;
    /// The server's own certificate (an X509*) as the last handshake showed it; null before. The stream's thread.
    std::shared_ptr<void> serverCertificate;

    /// PEM, "" where no certificate was shown.
    std::string serverCertificatePem() const;
};

/// Has the connections of a TLS context (an SSL_CTX*, freshly made by libcurl) report to `observation`, which the
/// context keeps; lets long writes report progress piece by piece. False when memory is short.
bool observeTls(void* tlsContext, const std::shared_ptr<HttpTlsObservation>& observation);

} // namespace tidemark
