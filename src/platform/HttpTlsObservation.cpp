#include "platform/HttpTlsObservation.h"

#include <openssl/ssl.h>

namespace tidemark {

namespace {

using Holder = std::shared_ptr<HttpTlsObservation>;

void releaseHolder(void*, void* data, CRYPTO_EX_DATA*, int, long, void*)
{
    delete static_cast<Holder*>(data);
}

int holderIndex()
{
    static const int index = SSL_CTX_get_ex_new_index(0, nullptr, nullptr, nullptr, releaseHolder);
    return index;
}

void onInfo(const SSL* connection, int where, int alert)
{
    constexpr int alertRead = SSL_CB_READ_ALERT;
    if ((where & alertRead) != alertRead) return;
    const auto* holder = static_cast<Holder*>(SSL_CTX_get_ex_data(SSL_get_SSL_CTX(connection), holderIndex()));
    if (holder) (*holder)->alert = alert & 0xff;
}

int onCertificateRequest(SSL*, void* observation)
{
    static_cast<HttpTlsObservation*>(observation)->certificateRequested = true;
    return 1;
}

} // namespace

bool observeTls(void* tlsContext, const std::shared_ptr<HttpTlsObservation>& observation)
{
    auto* context = static_cast<SSL_CTX*>(tlsContext);
    auto holder = std::make_unique<Holder>(observation);
    if (SSL_CTX_set_ex_data(context, holderIndex(), holder.get()) != 1) return false;
    HttpTlsObservation* kept = holder.release()->get();
    SSL_CTX_set_cert_cb(context, onCertificateRequest, kept);
    SSL_CTX_set_info_callback(context, onInfo);
    SSL_CTX_set_mode(context, SSL_MODE_ENABLE_PARTIAL_WRITE);
    return true;
}

} // namespace tidemark
