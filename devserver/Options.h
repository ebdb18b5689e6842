#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace devserver {

enum class Mode
{
    Plain,
    Product
};
enum class AuthScheme
{
    None,
    Basic,
    Digest
};
enum class TlsVersion
{
    Tls12,
    Tls13
};

// What a plain server makes of a PUT with Content-Range: servers in the field do one of these.
enum class PartialPut
{
    Write,
    NotImplemented,
    BadRequest
};

// What a request gets that names a folder without the "/" at its end.
enum class FolderWithoutSlash
{
    Serve,
    Redirect,
    Conflict
};

struct TlsOptions
{
    bool enabled = false;
    // PEM files. Without them a self-signed certificate is made when the server starts.
    std::filesystem::path certificateFile;
    std::filesystem::path keyFile;
    // Of the certificate that is made: its names (a name that is an address becomes an address) and its validity in
    // seconds from the present.
    std::vector<std::string> names = {"localhost", "127.0.0.1"};
    std::int64_t validFrom = -3600;
    std::int64_t validUntil = 86400;
    // A client certificate is demanded, signed by one of these (PEM file).
    bool requireClientCertificate = false;
    std::filesystem::path clientAuthorities;
    TlsVersion minimum = TlsVersion::Tls12;
    TlsVersion maximum = TlsVersion::Tls13;
};

// A PUT (and for rules without a size MKCOL, and COPY and MOVE by their destination) that matches is refused.
struct RefusalRule
{
    std::string pattern = "*"; // a glob over the last path component, without regard to case
    std::uint64_t minimumSize = 0;
    int status = 403;
    bool extension = false; // with "X-BX-REFUSAL-EXTENSION", in product mode
};

// Reads "STATUS:GLOB[:SIZE]"; "403x" asks for the extension header. Nothing when the text is no rule.
std::optional<RefusalRule> parseRefusalRule(std::string_view text);

// The product's headers of an OPTIONS answer, sent in product mode. Empty: not sent.
struct ProductOptions
{
    std::string version = "5.2.0";
    std::string primary;         // sent percent-escaped
    std::string user;            // sent percent-escaped; empty: who is signed in
    std::string platform;        // "w" for a server on Windows
    std::string cryptoFile;      // "1" or "2"
    bool readonlyEnable = false; // only announced, not enforced
    // Values of Set-Cookie, sent to requests that carry no cookie. Empty: one session cookie for the mount's path.
    std::vector<std::string> cookies;
    // The partial-checksum probe answers for at most this many bytes.
    std::optional<std::uint64_t> probeLimit;
};

struct Options
{
    std::filesystem::path root; // an existing folder
    std::string mount = "/";    // the URL path of the root
    std::uint16_t port = 0;     // on 127.0.0.1; 0 is any free one
    Mode mode = Mode::Plain;
    AuthScheme auth = AuthScheme::None;
    std::string user;
    std::string password;
    std::string realm = "devserver";
    unsigned nonceUses = 0; // a Digest nonce is stale after this many requests; 0: never
    TlsOptions tls;
    ProductOptions product;
    std::vector<RefusalRule> refusals;
    PartialPut partialPut = PartialPut::Write;
    FolderWithoutSlash folderWithoutSlash = FolderWithoutSlash::Serve;
    bool rawPlusInHref = false;    // "+" in a name stays "+" in an href
    bool keepAlive = true;         // false: every connection ends with its first answer
    bool control = false;          // POST /.devserver/fault and friends
    std::filesystem::path logFile; // JSON lines, one an exchange; empty: none
    // Request bodies up to this size are kept in the record, except those of PUT.
    std::size_t recordBodyLimit = 64 * 1024;
};

} // namespace devserver
