#pragma once

#include <memory>

#include "platform/HttpStream.h"

namespace tidemark {

/// Lists that libcurl reads while a request runs.
struct HttpEasyLists
{
    struct Free
    {
        void operator()(void* list) const;
    };
    /// A curl_slist*.
    std::unique_ptr<void, Free> headers;
};

/// Whether the request's bytes reach the server through a tunnel of the proxy.
bool usesTunnel(const HttpStreamRequest& request);

/// Sets every option that depends on the request; the handle may have served others before. The handle refers to
/// `lists` afterwards. A failure has domain "HttpStream".
Status setUpEasy(void* easy, const HttpStreamRequest& request, HttpEasyLists& lists);

/// A request whose method or header fields could not be sent as they are (control characters).
Status checkRequest(const HttpStreamRequest& request);

} // namespace tidemark
