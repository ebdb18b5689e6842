#pragma once

#include <string>

#include "platform/HttpStream.h"

namespace tidemark {

/// A challenge of a server (401) or of a proxy (407).
struct ASHttpAuthentication
{
    /// The strongest scheme offered that can be answered; `none` when there is none.
    HttpAuthenticationScheme method = HttpAuthenticationScheme::none;
    std::string realm;
    bool isProxy = false;
};

/// What is handed over to answer a challenge.
struct ASHttpCredential
{
    std::string username;
    std::string password;
    bool isProxy = false;
};

/// Reads the challenge of a 401 or 407 answer; a malformed or missing one has the method `none`.
ASHttpAuthentication authenticationFromResponse(const HttpResponseHead& response);

} // namespace tidemark
