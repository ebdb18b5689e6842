#include "devserver/Authentication.h"

#include "devserver/Crypto.h"
#include "devserver/Text.h"

namespace devserver {

namespace {

// `name=value` and `name="value"` pairs between commas.
std::map<std::string, std::string> parseFields(std::string_view text)
{
    std::map<std::string, std::string> fields;
    while (!(text = trimmed(text)).empty()) {
        const auto equals = text.find('=');
        if (equals == std::string_view::npos) break;
        const std::string name = lowered(trimmed(text.substr(0, equals)));
        text = trimmed(text.substr(equals + 1));
        std::string value;
        std::size_t at = 0;
        if (text.starts_with('"')) {
            for (at = 1; at < text.size() && text[at] != '"'; ++at) {
                if (text[at] == '\\' && at + 1 < text.size()) ++at;
                value += text[at];
            }
        } else {
            at = std::min(text.find(','), text.size());
            value = trimmed(text.substr(0, at));
        }
        fields[name] = value;
        const auto comma = text.find(',', std::min(at, text.size()));
        text = comma == std::string_view::npos ? std::string_view() : text.substr(comma + 1);
    }
    return fields;
}

} // namespace

Authentication::Authentication(const Options& options)
    : scheme_(options.auth), user_(options.user), password_(options.password), realm_(options.realm),
      nonceUses_(options.nonceUses)
{
}

std::optional<Response> Authentication::check(const Request& request)
{
    if (scheme_ == AuthScheme::None) return {};
    const std::string_view header = request.header("Authorization").value_or("");
    const auto blank = header.find(' ');
    const std::string_view scheme = header.substr(0, blank);
    const std::string_view credentials = blank == std::string_view::npos ? "" : trimmed(header.substr(blank));
    Verdict verdict = Verdict::Wrong;
    if (scheme_ == AuthScheme::Basic && equalIgnoringCase(scheme, "Basic")) verdict = checkBasic(credentials);
    if (scheme_ == AuthScheme::Digest && equalIgnoringCase(scheme, "Digest"))
        verdict = checkDigest(request, credentials);
    if (verdict == Verdict::Accepted) return {};
    Response response = plainResponse(401);
    response.set("WWW-Authenticate", challenge(verdict == Verdict::Stale));
    return response;
}

Authentication::Verdict Authentication::checkBasic(std::string_view credentials) const
{
    const auto decoded = base64Decoded(credentials);
    return decoded && equalInConstantTime(*decoded, user_ + ":" + password_) ? Verdict::Accepted : Verdict::Wrong;
}

Authentication::Verdict Authentication::checkDigest(const Request& request, std::string_view credentials)
{
    const auto fields = parseFields(credentials);
    if (!isDigestRight(request, fields)) return Verdict::Wrong;
    const std::lock_guard lock(mutex_);
    const auto nonce = nonces_.find(fields.at("nonce"));
    if (nonce == nonces_.end()) return Verdict::Stale;
    if (nonceUses_ != 0 && nonce->second >= nonceUses_) {
        nonces_.erase(nonce);
        return Verdict::Stale;
    }
    ++nonce->second;
    return Verdict::Accepted;
}

bool Authentication::isDigestRight(const Request& request, const std::map<std::string, std::string>& fields) const
{
    for (const auto* name : {"username", "realm", "nonce", "uri", "response", "qop", "nc", "cnonce"})
        if (!fields.contains(name)) return false;
    if (fields.at("username") != user_ || fields.at("realm") != realm_ || fields.at("uri") != request.target ||
        fields.at("qop") != "auth")
        return false;
    const std::string secret = md5Hex(user_ + ":" + realm_ + ":" + password_);
    const std::string action = md5Hex(request.method + ":" + fields.at("uri"));
    const std::string expected = md5Hex(secret + ":" + fields.at("nonce") + ":" + fields.at("nc") + ":" +
                                        fields.at("cnonce") + ":auth:" + action);
    return equalInConstantTime(expected, fields.at("response"));
}

std::string Authentication::challenge(bool stale)
{
    if (scheme_ == AuthScheme::Basic) return "Basic realm=\"" + realm_ + "\", charset=\"UTF-8\"";
    const std::string nonce = randomHex(16);
    const std::lock_guard lock(mutex_);
    nonces_[nonce] = 0;
    return "Digest realm=\"" + realm_ + "\", nonce=\"" + nonce + "\", algorithm=MD5, qop=\"auth\"" +
           (stale ? ", stale=true" : "");
}

} // namespace devserver
