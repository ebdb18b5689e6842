#pragma once

#include <atomic>
#include <memory>
#include <optional>
#include <string>

#include "app/ConfigurationDraft.h"
#include "platform/HttpStream.h"

namespace tidemark {

class BXSyncCertificateManager;

/// What a try to reach a configuration's server folder came to.
struct ConnectionVerdict
{
    enum class Kind
    {
        usable,
        /// The server answers, but not as a WebDAV server.
        notWebDav,
        /// No, or wrong, credentials.
        signIn,
        proxySignIn,
        untrustedCertificate,
        /// The server asks for a client certificate, or for another one.
        clientCertificate,
        noConnection,
        /// The folder check found `folderFault`.
        folder,
        cancelled,
    };
    Kind kind = Kind::noConnection;
    /// Message key of the table "TidemarkResource".
    std::string folderFault{};
    /// The one that is not trusted, where the server showed it.
    std::optional<ServerCertificate> certificate{};
    /// "" for a server without the product's extensions.
    std::string marlockVersion{};
};

/// Signs in to the server of a draft and asks about its folder, as a run would, without saving anything and without
/// asking anybody.
class ConnectionCheck
{
public:
    /// `draft` has no problem as far as the server and the way to it are concerned.
    ConnectionCheck(const ConfigurationDraft& draft, BXSyncCertificateManager& certificates);

    /// Takes as long as the server does, on a thread other than the main one. Once only.
    ConnectionVerdict run();
    /// run() ends soon. Any thread.
    void cancel();

private:
    std::optional<ConnectionVerdict> signIn();
    ConnectionVerdict refusal(LoginReason reason) const;
    ConnectionVerdict checkFolder();

    const std::shared_ptr<BXSyncConf> conf_;
    std::atomic<bool> cancelled_ = false;
};

} // namespace tidemark
