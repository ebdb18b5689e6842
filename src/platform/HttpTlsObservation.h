#pragma once

#include <atomic>
#include <memory>

namespace tidemark {

/// What the handshake of a TLS connection showed that libcurl's error codes do not tell apart.
struct HttpTlsObservation
{
    static constexpr int noAlert = -1;

    /// The server asked for a client certificate.
    std::atomic<bool> certificateRequested = false;
    /// The last alert that the server sent.
    std::atomic<int> alert = noAlert;
};

/// Has the connections of a TLS context (an SSL_CTX*, freshly made by libcurl) report to `observation`, which the
/// context keeps; lets long writes report progress piece by piece. False when memory is short.
bool observeTls(void* tlsContext, const std::shared_ptr<HttpTlsObservation>& observation);

} // namespace tidemark
