#include "davclient/ASHttpAuthentication.h"

#include <algorithm>
#include <cctype>
#include <map>
#include <string_view>
#include <vector>

namespace tidemark {

namespace {

struct Challenge
{
    std::string scheme;
    std::map<std::string, std::string> parameters;
};

std::string lowered(std::string_view text)
{
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return result;
}

/// Reads the list of challenges of one field value: scheme, then name=value pairs, separated by commas.
class ChallengeScanner
{
public:
    explicit ChallengeScanner(std::string_view text) : rest_(text) {}

    std::vector<Challenge> challenges()
    {
        std::vector<Challenge> found;
        while (skip(", \t"), !rest_.empty()) {
            const std::string word = lowered(token());
            skip(" \t");
            if (word.empty()) {
                rest_.remove_prefix(1);
            } else if (!rest_.starts_with('=')) {
                found.push_back({word, {}});
            } else {
                rest_.remove_prefix(1);
                std::string text = value();
                if (!found.empty()) found.back().parameters[word] = std::move(text);
            }
        }
        return found;
    }

private:
    void skip(std::string_view characters)
    {
        rest_.remove_prefix(std::min(rest_.find_first_not_of(characters), rest_.size()));
    }

    std::string_view token()
    {
        const auto word = rest_.substr(0, std::min(rest_.find_first_of(" \t,=\""), rest_.size()));
        rest_.remove_prefix(word.size());
        return word;
    }

    std::string value()
    {
        skip(" \t");
        if (!rest_.starts_with('"')) return std::string(token());
        rest_.remove_prefix(1);
        std::string text;
        while (!rest_.empty() && rest_.front() != '"') {
            if (rest_.front() == '\\' && rest_.size() > 1) rest_.remove_prefix(1);
            text += rest_.front();
            rest_.remove_prefix(1);
        }
        if (!rest_.empty()) rest_.remove_prefix(1);
        return text;
    }

    std::string_view rest_;
};

bool isAnswerableDigest(const Challenge& challenge)
{
    const auto parameter = [&](const char* name) {
        const auto found = challenge.parameters.find(name);
        return found == challenge.parameters.end() ? std::string() : lowered(found->second);
    };
    const std::string algorithm = parameter("algorithm");
    const bool knownAlgorithm = algorithm.empty() || algorithm == "md5" || algorithm == "md5-sess" ||
                                algorithm == "sha-256" || algorithm == "sha-256-sess";
    const std::string qop = parameter("qop");
    return knownAlgorithm && !parameter("nonce").empty() && (qop.empty() || qop != "auth-int");
}

HttpAuthenticationScheme schemeOf(const Challenge& challenge)
{
    if (challenge.scheme == "basic") return HttpAuthenticationScheme::basic;
    if (challenge.scheme == "digest" && isAnswerableDigest(challenge)) return HttpAuthenticationScheme::digest;
    return HttpAuthenticationScheme::none;
}

} // namespace

ASHttpAuthentication authenticationFromResponse(const HttpResponseHead& response)
{
    ASHttpAuthentication strongest;
    strongest.isProxy = response.statusCode == 407;
    const char* field = strongest.isProxy ? "Proxy-Authenticate" : "WWW-Authenticate";
    for (const auto& value : response.header.values(field)) {
        for (const auto& challenge : ChallengeScanner(value).challenges()) {
            const auto scheme = schemeOf(challenge);
            if (scheme <= strongest.method) continue;
            strongest.method = scheme;
            const auto realm = challenge.parameters.find("realm");
            strongest.realm = realm == challenge.parameters.end() ? "" : realm->second;
        }
    }
    return strongest;
}

} // namespace tidemark
