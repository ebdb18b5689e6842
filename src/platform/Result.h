#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include <tl/expected.hpp>

namespace tidemark {

/// Why an operation failed: a domain ("HTTPConnection", "POSIX", …), a code of that domain, and texts by key.
/// userInfo never holds a password, key, cookie or Authorization value.
struct Error
{
    /// Key of userInfo under which an operation leaves an English sentence for people.
    static constexpr const char* descriptionKey = "NSLocalizedDescription";

    std::string domain;
    std::int64_t code = 0;
    std::map<std::string, std::string> userInfo;

    /// The text under `key`, or "".
    std::string value(const std::string& key) const
    {
        auto found = userInfo.find(key);
        return found == userInfo.end() ? std::string{} : found->second;
    }

    std::string description() const { return value(descriptionKey); }
};

template <class T>
using Result = tl::expected<T, Error>;

using Status = Result<void>;

inline tl::unexpected<Error> failure(std::string domain, std::int64_t code, std::string description = {})
{
    Error error{std::move(domain), code, {}};
    if (!description.empty()) error.userInfo[Error::descriptionKey] = std::move(description);
    return tl::unexpected<Error>(std::move(error));
}

inline tl::unexpected<Error> failure(Error error)
{
    return tl::unexpected<Error>(std::move(error));
}

/// Domain "POSIX", code `errnoValue`; the description is "<what>: <system text>".
tl::unexpected<Error> posixFailure(int errnoValue, std::string_view what);

} // namespace tidemark
