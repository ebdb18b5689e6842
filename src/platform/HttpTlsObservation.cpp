#include "platform/HttpTlsObservation.h"

#include <openssl/pem.h>
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
    // Warnings, such as the one that ends a connection in good order, are no verdict.
    if ((where & alertRead) != alertRead || alert >> 8 != SSL3_AL_FATAL) return;
    const auto* holder = static_cast<Holder*>(SSL_CTX_get_ex_data(SSL_get_SSL_CTX(connection), holderIndex()));
    if (holder) (*holder)->alert = alert & 0xff;
}

/// Keeps the certificate and leaves the verdict as it is.
int onVerify(int verdict, X509_STORE_CTX* store)
{
    const auto* connection = static_cast<SSL*>(X509_STORE_CTX_get_ex_data(store, SSL_get_ex_data_X509_STORE_CTX_idx()));
    X509* certificate = X509_STORE_CTX_get0_cert(store);
    const auto* holder =
        connection ? static_cast<Holder*>(SSL_CTX_get_ex_data(SSL_get_SSL_CTX(connection), holderIndex())) : nullptr;
    if (holder && certificate && X509_up_ref(certificate) == 1)
        (*holder)->serverCertificate.reset(certificate, [](void* kept) { X509_free(static_cast<X509*>(kept)); });
    return verdict;
}

int onCertificateRequest(SSL*, void* observation)
{
    static_cast<HttpTlsObservation*>(observation)->certificateRequested = true;
    return 1;
}

} // namespace

std::string HttpTlsObservation::serverCertificatePem() const
{
    if (!serverCertificate) return {};
    const std::unique_ptr<BIO, decltype(&BIO_free_all)> out(BIO_new(BIO_s_mem()), BIO_free_all);
    if (!out || PEM_write_bio_X509(out.get(), static_cast<X509*>(serverCertificate.get())) != 1) return {};
    char* text = nullptr;
    const auto length = BIO_get_mem_data(out.get(), &text);
    return {text, static_cast<std::size_t>(length)};
}

bool observeTls(void* tlsContext, const std::shared_ptr<HttpTlsObservation>& observation)
{
    auto* context = static_cast<SSL_CTX*>(tlsContext);
    auto holder = std::make_unique<Holder>(observation);
    if (SSL_CTX_set_ex_data(context, holderIndex(), holder.get()) != 1) return false;
    HttpTlsObservation* kept = holder.release()->get();
    SSL_CTX_set_cert_cb(context, onCertificateRequest, kept);
    SSL_CTX_set_info_callback(context, onInfo);
    SSL_CTX_set_verify(context, SSL_CTX_get_verify_mode(context), onVerify);
    SSL_CTX_set_mode(context, SSL_MODE_ENABLE_PARTIAL_WRITE);
    return true;
}

} // namespace tidemark
