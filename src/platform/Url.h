#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/Result.h"

namespace tidemark {

/// An absolute http or https URL in canonical form: scheme and host in lower case, no user, no fragment, no dot
/// segments, and every path component escaped except for unreserved characters, so that equal resources have equal
/// texts and the text of a child begins with the text of its folder.
class Url
{
public:
    Url() = default;

    /// Fails (domain "Url") on anything that is not an absolute http or https URL with a host.
    static Result<Url> parse(std::string_view text);

    bool empty() const { return text_.empty(); }
    const std::string& absoluteString() const { return text_; }
    std::string scheme() const;
    std::string host() const;
    /// Given or the scheme's own.
    int port() const;
    bool isHttps() const { return scheme() == "https"; }
    bool hasSameOrigin(const Url& other) const;

    /// From the first "/" on, escaped; "/" at least.
    std::string encodedPath() const;
    /// The path decoded, without the "/" at its end (the root is "/").
    std::string path() const;
    /// Decoded; "" for the root.
    std::string lastPathComponent() const;

    /// `name` is plain text; it is escaped as one component, "/" in it included.
    Url appendingPathComponent(std::string_view name) const;
    /// `relativePath` is plain text whose "/" separate components; empty components are dropped.
    Url appendingPath(std::string_view relativePath) const;
    Url deletingLastPathComponent() const;
    /// The form in which a folder is asked for.
    Url withTrailingSlash() const;
    Url withoutTrailingSlash() const;

    /// `reference` (absolute, or relative to this one) made absolute; fails like parse().
    Result<Url> resolve(std::string_view reference) const;

    /// The decoded absolute text, for logs and for people.
    std::string displayString() const;

    friend bool operator==(const Url& a, const Url& b) { return a.text_ == b.text_; }

private:
    static Url fromCanonical(std::string text);

    std::string text_;
};

/// Escapes all but unreserved characters (letters, digits, "-", ".", "_", "~").
std::string percentEncodeComponent(std::string_view plain);
/// Nothing where an escape is malformed or the result is not UTF-8.
std::optional<std::string> percentDecode(std::string_view escaped);

} // namespace tidemark
