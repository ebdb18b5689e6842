#pragma once

#include "devserver/HttpMessage.h"
#include "devserver/Transport.h"

#include <memory>
#include <optional>
#include <span>

namespace devserver {

// The request is no HTTP, or its header is too long.
class MalformedRequest : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

// Reads the requests of a connection, one after the other.
class HttpReader : public BodySource
{
public:
    explicit HttpReader(Transport& transport);
    ~HttpReader() override;

    // The next request's header; the body of the one before must have been read. Nothing when the peer has ended.
    // Throws ConnectionLost and MalformedRequest.
    std::optional<Request> next();
    // Of the request's body.
    std::size_t read(std::span<char> buffer) override;
    // Whether some of the body has not been read.
    bool hasUnreadBody() const;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace devserver
