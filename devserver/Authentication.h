#pragma once

#include "devserver/HttpMessage.h"
#include "devserver/Options.h"

#include <map>
#include <mutex>
#include <string>
#include <string_view>

namespace devserver {

// Checks who a request comes from. Thread-safe.
class Authentication
{
public:
    explicit Authentication(const Options& options);

    // Nothing when the request may pass, else the 401 answer with its challenge.
    std::optional<Response> check(const Request& request);

private:
    enum class Verdict
    {
        Accepted,
        Wrong,
        Stale
    };

    Verdict checkBasic(std::string_view credentials) const;
    Verdict checkDigest(const Request& request, std::string_view credentials);
    bool isDigestRight(const Request& request, const std::map<std::string, std::string>& fields) const;
    std::string challenge(bool stale);

    const AuthScheme scheme_;
    const std::string user_;
    const std::string password_;
    const std::string realm_;
    const unsigned nonceUses_;
    std::mutex mutex_;
    std::map<std::string, unsigned> nonces_; // to the number of uses; guarded by mutex_
};

} // namespace devserver
