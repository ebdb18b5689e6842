#include "platform/HttpEasySetup.h"

#include <algorithm>
#include <strings.h>

#include <curl/curl.h>

namespace tidemark {

namespace {

constexpr const char* errorDomain = "HttpStream";
constexpr long receiveBuffer = 256 * 1024;
constexpr long sendBuffer = 512 * 1024;
constexpr long smallSendBuffer = 64 * 1024;
/// libcurl's own limit for connecting is put out of reach: time-outs are the caller's.
constexpr long connectLimitSeconds = 2'000'000;
/// Repetitions that libcurl makes by itself when a Digest nonce has become stale.
constexpr long repetitionLimit = 10;

/// Remembers the first option that libcurl did not take.
class Options
{
public:
    explicit Options(CURL* easy) : easy_(easy) {}

    template <class T>
    void set(CURLoption option, T value)
    {
        const CURLcode code = curl_easy_setopt(easy_, option, value);
        if (result_ == CURLE_OK) result_ = code;
    }
    void setText(CURLoption option, const std::string& value) { set(option, value.c_str()); }
    CURLcode result() const { return result_; }

private:
    CURL* easy_;
    CURLcode result_ = CURLE_OK;
};

/// What libcurl is told to sign in with. It notes the schemes that a challenge offers, and clears the note only where
/// it has a user and a scheme to choose for; a left-over note would make it miss the next nonce. So without
/// credentials it gets a scheme that sends nothing: a bearer token that is not there.
struct CurlSignIn
{
    explicit CurlSignIn(const HttpCredentials& credentials)
    {
        switch (credentials.scheme) {
        case HttpAuthenticationScheme::none:
            return;
        case HttpAuthenticationScheme::basic:
            bits = static_cast<long>(CURLAUTH_BASIC);
            break;
        case HttpAuthenticationScheme::digest:
            bits = static_cast<long>(CURLAUTH_DIGEST);
            break;
        }
        username = credentials.username.c_str();
        password = credentials.password.c_str();
    }

    long bits = static_cast<long>(CURLAUTH_BEARER);
    const char* username = "";
    const char* password = "";
};

void setFixedOptions(Options& options)
{
    options.set(CURLOPT_PROTOCOLS_STR, "http,https");
    options.set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    options.set(CURLOPT_FOLLOWLOCATION, 0L);
    options.set(CURLOPT_MAXREDIRS, repetitionLimit);
    options.set(CURLOPT_NOSIGNAL, 1L);
    options.set(CURLOPT_QUICK_EXIT, 1L);
    options.set(CURLOPT_CONNECTTIMEOUT, connectLimitSeconds);
    options.set(CURLOPT_TCP_NODELAY, 1L);
    options.set(CURLOPT_TCP_KEEPALIVE, 1L);
    options.set(CURLOPT_BUFFERSIZE, receiveBuffer);
    options.set(CURLOPT_HEADEROPT, static_cast<long>(CURLHEADER_SEPARATE));
    options.set(CURLOPT_PATH_AS_IS, 1L);
}

void setMethod(Options& options, const HttpStreamRequest& request)
{
    const bool hasBody = request.body && request.bodyLength > 0;
    options.set(CURLOPT_NOBODY, 0L);
    options.set(CURLOPT_HTTPGET, 1L);
    options.set(CURLOPT_CUSTOMREQUEST, static_cast<const char*>(nullptr));
    options.set(CURLOPT_INFILESIZE_LARGE, static_cast<curl_off_t>(-1));
    if (request.method == "HEAD") return options.set(CURLOPT_NOBODY, 1L);
    if (hasBody) {
        options.set(CURLOPT_UPLOAD, 1L);
        options.set(CURLOPT_INFILESIZE_LARGE, static_cast<curl_off_t>(request.bodyLength));
        options.set(CURLOPT_UPLOAD_BUFFERSIZE, request.bodyLength > sendBuffer ? sendBuffer : smallSendBuffer);
    }
    if (request.method != "GET" || hasBody) options.setText(CURLOPT_CUSTOMREQUEST, request.method);
}

bool appendHeader(curl_slist*& list, const std::string& line)
{
    curl_slist* longer = curl_slist_append(list, line.c_str());
    if (longer) list = longer;
    return longer != nullptr;
}

bool setHeaders(Options& options, const HttpStreamRequest& request, HttpEasyLists& lists)
{
    curl_slist* list = nullptr;
    bool complete = appendHeader(list, "Expect:") && appendHeader(list, "Accept:");
    for (const auto& [name, value] : request.header.fields()) {
        const bool fromBody = request.bodyLength > 0 && strcasecmp(name.c_str(), "content-length") == 0;
        if (fromBody) continue;
        complete = complete && appendHeader(list, value.empty() ? name + ";" : name + ": " + value);
    }
    lists.headers.reset(list);
    options.set(CURLOPT_HTTPHEADER, list);
    return complete;
}

void setCredentials(Options& options, const HttpCredentials& credentials)
{
    const CurlSignIn signIn(credentials);
    options.set(CURLOPT_HTTPAUTH, signIn.bits);
    options.set(CURLOPT_USERNAME, signIn.username);
    options.set(CURLOPT_PASSWORD, signIn.password);
}

void setProxy(Options& options, const HttpStreamRequest& request)
{
    // An empty text, unlike none, keeps the proxies of the environment out.
    options.set(CURLOPT_NOPROXY, "");
    options.set(CURLOPT_HTTPPROXYTUNNEL, usesTunnel(request) ? 1L : 0L);
    static const HttpCredentials none;
    const CurlSignIn signIn(request.proxy ? request.proxy->credentials : none);
    options.set(CURLOPT_PROXYAUTH, signIn.bits);
    options.set(CURLOPT_PROXYUSERNAME, signIn.username);
    options.set(CURLOPT_PROXYPASSWORD, signIn.password);
    if (!request.proxy) return options.set(CURLOPT_PROXY, "");

    const std::string& host = request.proxy->host;
    const bool bareIpv6 = host.find(':') != std::string::npos && host.front() != '[';
    const std::string authority = bareIpv6 ? "[" + host + "]" : host;
    options.setText(CURLOPT_PROXY, "http://" + authority + ":" + std::to_string(request.proxy->port));
}

void setTls(Options& options, const HttpTls& tls)
{
    options.set(CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
    options.set(CURLOPT_SSL_VERIFYPEER, tls.validatesCertificate ? 1L : 0L);
    options.set(CURLOPT_SSL_VERIFYHOST, tls.validatesCertificate ? 2L : 0L);
    if (!tls.extraTrustFile.empty()) options.setText(CURLOPT_CAINFO, tls.extraTrustFile);

    const auto setBlob = [&](CURLoption option, const std::string* pem) {
        curl_blob blob{nullptr, 0, CURL_BLOB_COPY};
        if (pem) blob = {const_cast<char*>(pem->data()), pem->size(), CURL_BLOB_COPY};
        options.set(option, pem ? &blob : nullptr);
    };
    setBlob(CURLOPT_SSLCERT_BLOB, tls.clientIdentity ? &tls.clientIdentity->certificateChain : nullptr);
    setBlob(CURLOPT_SSLKEY_BLOB, tls.clientIdentity ? &tls.clientIdentity->privateKey : nullptr);
}

bool isToken(std::string_view text)
{
    return !text.empty() && std::all_of(text.begin(), text.end(), [](unsigned char c) {
        return c > ' ' && c < 0x7f && std::string_view("()<>@,;:\\\"/[]?={}").find(char(c)) == std::string_view::npos;
    });
}

bool hasControls(std::string_view text)
{
    return std::any_of(text.begin(), text.end(), [](unsigned char c) { return (c < ' ' && c != '\t') || c == 0x7f; });
}

} // namespace

void HttpEasyLists::Free::operator()(void* list) const
{
    curl_slist_free_all(static_cast<curl_slist*>(list));
}

bool usesTunnel(const HttpStreamRequest& request)
{
    return request.proxy && (request.proxy->tunnelsAll || request.url.isHttps());
}

Status checkRequest(const HttpStreamRequest& request)
{
    if (request.url.empty()) return failure(errorDomain, 0, "There is no URL.");
    if (!isToken(request.method)) return failure(errorDomain, 0, "The method is not one.");
    for (const auto& [name, value] : request.header.fields())
        if (!isToken(name) || hasControls(value))
            return failure(errorDomain, 0, "The header field \"" + name + "\" cannot be sent.");
    return {};
}

Status setUpEasy(void* easy, const HttpStreamRequest& request, HttpEasyLists& lists)
{
    Options options(easy);
    setFixedOptions(options);
    options.setText(CURLOPT_URL, request.url.absoluteString());
    setMethod(options, request);
    const bool complete = setHeaders(options, request, lists);
    setCredentials(options, request.credentials);
    setProxy(options, request);
    setTls(options, request.tls);
    if (!complete) return failure(errorDomain, CURLE_OUT_OF_MEMORY, "Memory is short.");
    if (options.result() == CURLE_OK) return {};
    return failure(errorDomain, options.result(), curl_easy_strerror(options.result()));
}

} // namespace tidemark
