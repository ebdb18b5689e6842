#include "platform/Url.h"

#include <curl/curl.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <memory>
#include <vector>

#include "platform/Unicode.h"

namespace tidemark {

namespace {

using CurlUrl = std::unique_ptr<CURLU, decltype(&curl_url_cleanup)>;

// Paths are taken apart here, blanks included; the library judges the rest.
constexpr unsigned parseFlags = CURLU_PATH_AS_IS | CURLU_ALLOW_SPACE;

tl::unexpected<Error> invalid(const char* why)
{
    // The text itself may hold a password and is not repeated.
    return failure("Url", 1, std::string("Not an http or https URL: ") + why);
}

bool isUnreserved(char c)
{
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '.' ||
           c == '_' || c == '~';
}

int hexValue(char c)
{
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

void appendEscaped(std::string& text, char c)
{
    constexpr char digits[] = "0123456789ABCDEF";
    auto byte = static_cast<unsigned char>(c);
    text += '%';
    text += digits[byte >> 4];
    text += digits[byte & 15];
}

std::string lowered(std::string_view text)
{
    std::string result(text);
    for (auto& c : result)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return result;
}

std::vector<std::string_view> split(std::string_view text)
{
    std::vector<std::string_view> parts;
    while (true) {
        auto end = text.find('/');
        parts.push_back(text.substr(0, end));
        if (end == std::string_view::npos) return parts;
        text.remove_prefix(end + 1);
    }
}

/// A name that is a dot segment must not become one by being put into a path.
std::string escapedName(std::string_view name)
{
    if (name == ".") return "%2E";
    if (name == "..") return "%2E%2E";
    return percentEncodeComponent(name);
}

/// Escapes each component anew and takes dot segments out; nothing where an escape is malformed.
std::optional<std::string> canonicalPath(std::string_view raw)
{
    std::vector<std::string> kept;
    auto parts = split(raw.substr(std::min<std::size_t>(raw.starts_with('/') ? 1 : 0, raw.size())));
    for (std::size_t i = 0; i < parts.size(); ++i) {
        auto plain = percentDecode(parts[i]);
        if (!plain) return std::nullopt;
        bool dots = *plain == "." || *plain == "..";
        if (*plain == ".." && !kept.empty()) kept.pop_back();
        if (!dots) kept.push_back(percentEncodeComponent(*plain));
        if (dots && i + 1 == parts.size()) kept.emplace_back();
    }
    std::string path;
    for (const auto& component : kept)
        path += "/" + component;
    return path.empty() ? "/" : path;
}

/// Legal characters stay, escapes included.
std::string canonicalQuery(std::string_view raw)
{
    constexpr std::string_view refused = " \"<>\\^`{|}";
    std::string query;
    for (char c : raw) {
        if (c > 0x20 && c < 0x7f && refused.find(c) == std::string_view::npos)
            query += c;
        else
            appendEscaped(query, c);
    }
    return query;
}

std::optional<std::string> part(CURLU* url, CURLUPart which, unsigned flags = 0)
{
    char* text = nullptr;
    if (curl_url_get(url, which, &text, flags) != CURLUE_OK) return std::nullopt;
    std::unique_ptr<char, decltype(&curl_free)> owner(text, &curl_free);
    return std::string(text);
}

/// "[address%25zone]" for IPv6, the name in its ASCII form for others.
std::optional<std::string> hostPart(CURLU* url)
{
    auto host = part(url, CURLUPART_HOST, CURLU_PUNYCODE);
    if (!host || host->empty()) return std::nullopt;
    auto zone = part(url, CURLUPART_ZONEID);
    if (zone && host->ends_with(']')) host->insert(host->size() - 1, "%25" + *zone);
    return lowered(*host);
}

/// ":port" unless it is the scheme's own; nothing for one that cannot be.
std::optional<std::string> portPart(CURLU* url, bool https)
{
    auto port = part(url, CURLUPART_PORT);
    if (!port || *port == (https ? "443" : "80")) return "";
    if (*port == "0") return std::nullopt;
    return ":" + *port;
}

Result<std::string> canonicalText(CURLU* url)
{
    auto scheme = lowered(part(url, CURLUPART_SCHEME).value_or(""));
    if (scheme != "http" && scheme != "https") return invalid("the scheme is another one");
    auto host = hostPart(url);
    if (!host) return invalid("the host name is not valid");
    auto port = portPart(url, scheme == "https");
    if (!port) return invalid("the port is not valid");
    auto path = canonicalPath(part(url, CURLUPART_PATH).value_or("/"));
    if (!path) return invalid("the path holds an escape that is malformed or not UTF-8");
    auto text = scheme + "://" + *host + *port + *path;
    if (auto query = part(url, CURLUPART_QUERY)) text += "?" + canonicalQuery(*query);
    return text;
}

/// The library also takes "http:/host" and "http:///host".
bool hasStrictPrefix(std::string_view text)
{
    auto colon = text.find(':');
    if (colon == std::string_view::npos) return false;
    auto scheme = lowered(text.substr(0, colon));
    auto rest = text.substr(colon);
    return (scheme == "http" || scheme == "https") && rest.starts_with("://") && rest.size() > 3 && rest[3] != '/';
}

bool hasScheme(std::string_view reference)
{
    auto end = reference.find_first_of(":/?#");
    return end != std::string_view::npos && end > 0 && reference[end] == ':';
}

} // namespace

Result<Url> Url::parse(std::string_view text)
{
    if (!hasStrictPrefix(text) || text.find('\0') != std::string_view::npos) return invalid("no scheme or no host");
    CurlUrl handle(curl_url(), &curl_url_cleanup);
    auto code = curl_url_set(handle.get(), CURLUPART_URL, std::string(text).c_str(), parseFlags);
    if (code != CURLUE_OK) return invalid(curl_url_strerror(code));
    return canonicalText(handle.get()).map(fromCanonical);
}

Result<Url> Url::resolve(std::string_view reference) const
{
    if (hasScheme(reference)) return parse(reference);
    if (reference.empty() || reference.starts_with('#')) return *this;
    if (empty() || reference.find('\0') != std::string_view::npos) return invalid("the reference is not valid");
    CurlUrl handle(curl_url(), &curl_url_cleanup);
    auto code = curl_url_set(handle.get(), CURLUPART_URL, text_.c_str(), parseFlags);
    if (code == CURLUE_OK) code = curl_url_set(handle.get(), CURLUPART_URL, std::string(reference).c_str(), parseFlags);
    if (code != CURLUE_OK) return invalid(curl_url_strerror(code));
    return canonicalText(handle.get()).map(fromCanonical);
}

Url Url::fromCanonical(std::string text)
{
    Url url;
    url.text_ = std::move(text);
    return url;
}

// Below, the text is canonical: scheme "://" host [":" port] path ["?" query].

namespace {

struct Parts
{
    std::string_view scheme;
    std::string_view authority;
    std::string_view origin;
    std::string_view path;
    std::string_view query;
};

Parts partsOf(const std::string& text)
{
    if (text.empty()) return {};
    std::string_view all = text;
    auto authority = all.find("://") + 3;
    auto path = all.find('/', authority);
    auto query = std::min(all.find('?', path), all.size());
    return {all.substr(0, authority - 3), all.substr(authority, path - authority), all.substr(0, path),
            all.substr(path, query - path), all.substr(query)};
}

/// Where the port begins in an authority, or its end.
std::size_t portPosition(std::string_view authority)
{
    auto colon = authority.rfind(':');
    bool inBrackets = authority.ends_with(']');
    return colon == std::string_view::npos || inBrackets ? authority.size() : colon;
}

std::string_view withoutSlash(std::string_view path)
{
    while (path.ends_with('/'))
        path.remove_suffix(1);
    return path;
}

} // namespace

std::string Url::scheme() const
{
    return std::string(partsOf(text_).scheme);
}

std::string Url::host() const
{
    auto authority = partsOf(text_).authority;
    auto host = authority.substr(0, portPosition(authority));
    if (host.starts_with('[')) host = host.substr(1, host.size() - 2);
    return std::string(host);
}

int Url::port() const
{
    auto authority = partsOf(text_).authority;
    auto position = portPosition(authority);
    int port = isHttps() ? 443 : 80;
    if (position < authority.size())
        std::from_chars(authority.data() + position + 1, authority.data() + authority.size(), port);
    return port;
}

bool Url::hasSameOrigin(const Url& other) const
{
    return partsOf(text_).origin == partsOf(other.text_).origin;
}

std::string Url::encodedPath() const
{
    return std::string(partsOf(text_).path);
}

std::string Url::path() const
{
    auto path = withoutSlash(partsOf(text_).path);
    return path.empty() ? "/" : percentDecode(path).value_or("");
}

std::string Url::lastPathComponent() const
{
    auto path = withoutSlash(partsOf(text_).path);
    return path.empty() ? "" : percentDecode(path.substr(path.rfind('/') + 1)).value_or("");
}

Url Url::appendingPathComponent(std::string_view name) const
{
    if (empty()) return *this;
    auto parts = partsOf(text_);
    return fromCanonical(std::string(parts.origin) + std::string(withoutSlash(parts.path)) + "/" + escapedName(name));
}

Url Url::appendingPath(std::string_view relativePath) const
{
    Url result = *this;
    for (auto name : split(relativePath))
        if (!name.empty()) result = result.appendingPathComponent(name);
    return result;
}

Url Url::deletingLastPathComponent() const
{
    if (empty()) return *this;
    auto parts = partsOf(text_);
    auto path = withoutSlash(parts.path);
    path = withoutSlash(path.substr(0, path.empty() ? 0 : path.rfind('/')));
    return fromCanonical(std::string(parts.origin) + (path.empty() ? "/" : std::string(path)));
}

Url Url::withTrailingSlash() const
{
    if (empty()) return *this;
    auto parts = partsOf(text_);
    return fromCanonical(std::string(parts.origin) + std::string(withoutSlash(parts.path)) + "/" +
                         std::string(parts.query));
}

Url Url::withoutTrailingSlash() const
{
    if (empty()) return *this;
    auto parts = partsOf(text_);
    auto path = withoutSlash(parts.path);
    return fromCanonical(std::string(parts.origin) + (path.empty() ? "/" : std::string(path)) +
                         std::string(parts.query));
}

std::string Url::displayString() const
{
    return escapeControls(percentDecode(text_).value_or(text_));
}

std::string percentEncodeComponent(std::string_view plain)
{
    std::string escaped;
    escaped.reserve(plain.size());
    for (char c : plain) {
        if (isUnreserved(c))
            escaped += c;
        else
            appendEscaped(escaped, c);
    }
    return escaped;
}

std::optional<std::string> percentDecode(std::string_view escaped)
{
    std::string plain;
    plain.reserve(escaped.size());
    for (std::size_t i = 0; i < escaped.size(); ++i) {
        if (escaped[i] != '%') {
            plain += escaped[i];
            continue;
        }
        if (i + 2 >= escaped.size()) return std::nullopt;
        int high = hexValue(escaped[i + 1]);
        int low = hexValue(escaped[i + 2]);
        if (high < 0 || low < 0) return std::nullopt;
        plain += static_cast<char>(high << 4 | low);
        i += 2;
    }
    if (!isUtf8(plain)) return std::nullopt;
    return plain;
}

} // namespace tidemark
