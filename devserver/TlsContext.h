#pragma once

#include "devserver/Options.h"

#include <boost/asio/ssl/context.hpp>
#include <string>

namespace devserver {

// The server's side of TLS as the options ask for it. Throws std::runtime_error for files that cannot be used.
class TlsContext
{
public:
    explicit TlsContext(const TlsOptions& options);

    boost::asio::ssl::context& context() { return context_; }
    const std::string& certificatePem() const { return certificatePem_; }

private:
    void useCertificate(const TlsOptions& options);
    void demandClientCertificate(const TlsOptions& options);
    void limitVersions(const TlsOptions& options);

    boost::asio::ssl::context context_;
    std::string certificatePem_;
};

} // namespace devserver
