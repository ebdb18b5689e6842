#include "davclient/ASHttpConnectInfo.h"

#include <algorithm>
#include <string_view>
#include <strings.h>

namespace tidemark {

namespace {

constexpr std::size_t largestCookie = 4096;
constexpr std::size_t largestJar = 100;

std::string_view trimmed(std::string_view text)
{
    const auto first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

std::pair<std::string_view, std::string_view> splitPair(std::string_view text)
{
    const auto equals = text.find('=');
    if (equals == std::string_view::npos) return {trimmed(text), {}};
    return {trimmed(text.substr(0, equals)), trimmed(text.substr(equals + 1))};
}

bool hasControls(std::string_view text)
{
    return std::any_of(text.begin(), text.end(), [](unsigned char c) { return c < ' ' || c == 0x7f; });
}

std::optional<ASHttpCookie> parseCookie(std::string_view field)
{
    if (field.size() > largestCookie || hasControls(field)) return std::nullopt;
    const auto end = std::min(field.find(';'), field.size());
    const auto [name, value] = splitPair(field.substr(0, end));
    if (name.empty() || field.substr(0, end).find('=') == std::string_view::npos) return std::nullopt;

    ASHttpCookie cookie{std::string(name), std::string(value), "/"};
    for (auto rest = field.substr(end); !rest.empty();) {
        rest.remove_prefix(1);
        const auto next = std::min(rest.find(';'), rest.size());
        const auto [attribute, text] = splitPair(rest.substr(0, next));
        const bool isPath = attribute.size() == 4 && strncasecmp(attribute.data(), "path", 4) == 0;
        if (isPath && text.starts_with('/')) cookie.path = text;
        rest.remove_prefix(next);
    }
    return cookie;
}

} // namespace

ASHttpConnectInfo::ASHttpConnectInfo() : session_(std::make_shared<HttpSession>()) {}

std::optional<std::string> ASHttpConnectInfo::cookieValue() const
{
    std::lock_guard lock(mutex_);
    std::optional<std::string> joined;
    for (const auto& [name, cookie] : myCookies_) {
        const std::string pair = name + "=" + cookie.value;
        joined = joined ? *joined + "; " + pair : pair;
    }
    return joined;
}

void ASHttpConnectInfo::setCookie(const HttpHeader& responseHeader, const Url&)
{
    std::lock_guard lock(mutex_);
    for (const auto& field : responseHeader.values("Set-Cookie")) {
        auto cookie = parseCookie(field);
        if (!cookie) continue;
        if (myCookies_.size() >= largestJar && !myCookies_.contains(cookie->name)) continue;
        myCookies_.insert_or_assign(cookie->name, *cookie);
    }
}

std::optional<HttpProxy> ASHttpConnectInfo::proxy() const
{
    std::lock_guard lock(mutex_);
    if (!isUseProxy_ || proxyHost_.empty() || proxyPort_.value_or(0) <= 0) return std::nullopt;
    HttpProxy proxy{proxyHost_, *proxyPort_, {}, isUseProxyHTTPS_};
    if (isUseProxyAuthorization_) proxy.credentials = {proxyAuthenticationScheme_, proxyUsername_, proxyPassword_};
    return proxy;
}

HttpCredentials ASHttpConnectInfo::credentials() const
{
    std::lock_guard lock(mutex_);
    if (!isUseAuthorization_) return {};
    return {authenticationScheme_, username_, password_};
}

HttpTls ASHttpConnectInfo::tls() const
{
    std::lock_guard lock(mutex_);
    return {validatesSecureCertificate_, clientCertificates_, extraTrustFile_};
}

std::unique_ptr<HttpStream> ASHttpConnectInfo::makeStream(HttpStreamClient& client) const
{
    const StreamMaker maker = read(streamMaker_);
    return maker ? maker(session_, client) : std::make_unique<HttpStream>(session_, client);
}

} // namespace tidemark
