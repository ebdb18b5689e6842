#pragma once

#include <string>

#include "platform/HttpStream.h"
#include "platform/HttpTlsObservation.h"

namespace tidemark {

/// How a transfer ended, as far as the reason for a failure depends on it.
struct HttpTransferEnd
{
    int curlCode = 0;
    std::string text;
    bool sawResponse = false;
    bool hasClientIdentity = false;
};

HttpStreamError classifyFailure(const HttpTransferEnd& end, const HttpTlsObservation& tls);

} // namespace tidemark
