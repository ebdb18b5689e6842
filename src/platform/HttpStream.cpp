#include "platform/HttpStream.h"

#include "platform/HttpExchange.h"

namespace tidemark {

HttpStream::HttpStream(std::shared_ptr<HttpSession> session, HttpStreamClient& client)
    : exchange_(std::make_shared<Exchange>(std::move(session), client))
{
}

HttpStream::~HttpStream()
{
    exchange_->close();
}

Status HttpStream::open(HttpStreamRequest request)
{
    return exchange_->open(std::move(request));
}

void HttpStream::close()
{
    exchange_->close();
}

bool HttpStream::isOpen() const
{
    return exchange_->isOpen();
}

std::uint64_t HttpStream::sentBodyBytes() const
{
    return exchange_->sentBodyBytes();
}

} // namespace tidemark
