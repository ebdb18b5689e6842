#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "platform/HttpStream.h"
#include "platform/Url.h"

namespace tidemark {

/// A cookie as a server set it. Expiry and domain are not looked at.
struct ASHttpCookie
{
    std::string name;
    std::string value;
    /// "/" where the server named none.
    std::string path;
};

/// Everything that the requests of one configuration share: credentials and the schemes learnt for them, proxy, TLS
/// policy, client identity, cookies. Any thread; mutex_ guards all members.
class ASHttpConnectInfo
{
public:
    using StreamMaker =
        std::function<std::unique_ptr<HttpStream>(const std::shared_ptr<HttpSession>&, HttpStreamClient&)>;

    ASHttpConnectInfo();
    ASHttpConnectInfo(const ASHttpConnectInfo&) = delete;
    ASHttpConnectInfo& operator=(const ASHttpConnectInfo&) = delete;

    /// Send server credentials.
    bool isUseAuthorization() const { return read(isUseAuthorization_); }
    void setIsUseAuthorization(bool value) { write(isUseAuthorization_, value); }
    std::string username() const { return read(username_); }
    void setUsername(std::string value) { write(username_, std::move(value)); }
    std::string password() const { return read(password_); }
    void setPassword(std::string value) { write(password_, std::move(value)); }
    /// Learnt from the server's first challenge; `none` until then.
    HttpAuthenticationScheme authenticationScheme() const { return read(authenticationScheme_); }
    void setAuthenticationScheme(HttpAuthenticationScheme value) { write(authenticationScheme_, value); }

    /// Go through the proxy; counts only with a host and a port.
    bool isUseProxy() const { return read(isUseProxy_); }
    void setIsUseProxy(bool value) { write(isUseProxy_, value); }
    /// The proxy is an HTTPS proxy: every request goes through a tunnel (CONNECT). As an HTTP proxy it is asked
    /// directly for http URLs, and tunnels https ones.
    bool isUseProxyHTTPS() const { return read(isUseProxyHTTPS_); }
    void setIsUseProxyHTTPS(bool value) { write(isUseProxyHTTPS_, value); }
    std::string proxyHost() const { return read(proxyHost_); }
    void setProxyHost(std::string value) { write(proxyHost_, std::move(value)); }
    /// Nothing or 0: not set.
    std::optional<int> proxyPort() const { return read(proxyPort_); }
    void setProxyPort(std::optional<int> value) { write(proxyPort_, value); }
    bool isUseProxyAuthorization() const { return read(isUseProxyAuthorization_); }
    void setIsUseProxyAuthorization(bool value) { write(isUseProxyAuthorization_, value); }
    std::string proxyUsername() const { return read(proxyUsername_); }
    void setProxyUsername(std::string value) { write(proxyUsername_, std::move(value)); }
    std::string proxyPassword() const { return read(proxyPassword_); }
    void setProxyPassword(std::string value) { write(proxyPassword_, std::move(value)); }
    HttpAuthenticationScheme proxyAuthenticationScheme() const { return read(proxyAuthenticationScheme_); }
    void setProxyAuthenticationScheme(HttpAuthenticationScheme value) { write(proxyAuthenticationScheme_, value); }

    /// Off: neither the server's certificate chain nor its host name is checked. On at first.
    bool validatesSecureCertificate() const { return read(validatesSecureCertificate_); }
    void setValidatesSecureCertificate(bool value) { write(validatesSecureCertificate_, value); }
    /// The client identity; null for none.
    std::shared_ptr<const ClientIdentityPem> clientCertificates() const { return read(clientCertificates_); }
    void setClientCertificates(std::shared_ptr<const ClientIdentityPem> value)
    {
        write(clientCertificates_, std::move(value));
    }
    /// A PEM file of roots trusted beside the system's; "" for none.
    std::string extraTrustFile() const { return read(extraTrustFile_); }
    void setExtraTrustFile(std::string value) { write(extraTrustFile_, std::move(value)); }

    /// The cookie jar by name.
    std::map<std::string, ASHttpCookie> myCookies() const { return read(myCookies_); }
    /// The value of a "Cookie" header; nothing while the jar is empty.
    std::optional<std::string> cookieValue() const;
    /// Puts every cookie of a response into the jar; one of the same name is replaced. Cookies over 4 KiB and any
    /// beyond the 100th name are dropped.
    void setCookie(const HttpHeader& responseHeader, const Url& forURL);

    /// The certificate that a server showed and that was not accepted, last; null for none.
    std::shared_ptr<const ServerCertificate> untrustedCertificate() const { return read(untrustedCertificate_); }
    void setUntrustedCertificate(std::shared_ptr<const ServerCertificate> value)
    {
        write(untrustedCertificate_, std::move(value));
    }

    /// Host, port, form and credentials (the latter when a scheme has been learnt); nothing without a proxy.
    std::optional<HttpProxy> proxy() const;
    /// Server credentials to send without being asked: scheme `none` until one has been learnt.
    HttpCredentials credentials() const;
    HttpTls tls() const;

    /// Authentication state that outlives one request.
    std::shared_ptr<HttpSession> session() const { return session_; }

    /// How connections come by their streams; HttpStream itself until set.
    void setStreamMaker(StreamMaker maker) { write(streamMaker_, std::move(maker)); }
    std::unique_ptr<HttpStream> makeStream(HttpStreamClient& client) const;

private:
    template <class T>
    T read(const T& member) const
    {
        std::lock_guard lock(mutex_);
        return member;
    }
    template <class T, class U>
    void write(T& member, U&& value)
    {
        std::lock_guard lock(mutex_);
        member = std::forward<U>(value);
    }

    mutable std::mutex mutex_;
    bool isUseAuthorization_ = false;
    std::string username_;
    std::string password_;
    HttpAuthenticationScheme authenticationScheme_ = HttpAuthenticationScheme::none;
    bool isUseProxy_ = false;
    bool isUseProxyHTTPS_ = false;
    std::string proxyHost_;
    std::optional<int> proxyPort_;
    bool isUseProxyAuthorization_ = false;
    std::string proxyUsername_;
    std::string proxyPassword_;
    HttpAuthenticationScheme proxyAuthenticationScheme_ = HttpAuthenticationScheme::none;
    bool validatesSecureCertificate_ = true;
    std::shared_ptr<const ClientIdentityPem> clientCertificates_;
    std::string extraTrustFile_;
    std::shared_ptr<const ServerCertificate> untrustedCertificate_;
    std::map<std::string, ASHttpCookie> myCookies_;
    StreamMaker streamMaker_;
    const std::shared_ptr<HttpSession> session_;
};

} // namespace tidemark
