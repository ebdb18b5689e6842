#include "devserver/HttpReader.h"

#include "devserver/Text.h"

#include <boost/asio/error.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/buffer_body.hpp>
#include <boost/beast/http/error.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>
#include <limits>

namespace devserver {

namespace {

namespace http = boost::beast::http;
using Error = boost::system::error_code;

constexpr std::uint32_t headerLimit = 1 << 20;

// A transport as Beast's synchronous stream.
struct ReadStream
{
    Transport& transport;

    template <class Buffers>
    std::size_t read_some(const Buffers& buffers, Error& error)
    {
        const boost::asio::mutable_buffer first = *boost::asio::buffer_sequence_begin(buffers);
        const std::size_t size = transport.readSome({static_cast<char*>(first.data()), first.size()});
        error = size == 0 ? boost::asio::error::eof : Error();
        return size;
    }

    template <class Buffers>
    std::size_t read_some(const Buffers& buffers)
    {
        Error error;
        const std::size_t size = read_some(buffers, error);
        if (error) throw ConnectionLost(error.message());
        return size;
    }
};

void fillPath(Request& request)
{
    std::string_view target = request.target;
    if (const auto scheme = target.find("://"); !target.starts_with('/') && scheme != std::string_view::npos) {
        const auto slash = target.find('/', scheme + 3);
        target = slash == std::string_view::npos ? "/" : target.substr(slash);
    }
    target = target.substr(0, target.find_first_of("?#"));
    if (target == "*") target = "/";
    const auto decoded = percentDecoded(target);
    request.pathValid = decoded && decoded->starts_with('/');
    request.path = decoded.value_or(std::string(target));
}

} // namespace

struct HttpReader::Impl
{
    using Parser = http::request_parser<http::buffer_body>;

    explicit Impl(Transport& transport) : stream{transport} {}

    ReadStream stream;
    boost::beast::flat_buffer buffer;
    std::optional<Parser> parser;
};

HttpReader::HttpReader(Transport& transport) : impl_(std::make_unique<Impl>(transport)) {}

HttpReader::~HttpReader() = default;

std::optional<Request> HttpReader::next()
{
    auto& parser = impl_->parser.emplace();
    parser.header_limit(headerLimit);
    parser.body_limit(std::numeric_limits<std::uint64_t>::max());
    Error error;
    http::read_header(impl_->stream, impl_->buffer, parser, error);
    if (error == http::error::end_of_stream) return {};
    if (error == http::error::partial_message) throw ConnectionLost("ended in a header");
    if (error) throw MalformedRequest(error.message());
    Request request;
    const auto& message = parser.get();
    request.method = std::string(message.method_string());
    request.target = std::string(message.target());
    for (const auto& field : message)
        request.headers.emplace_back(field.name_string(), field.value());
    if (const auto length = parser.content_length()) request.contentLength = *length;
    request.hasBody = parser.chunked() || request.contentLength.value_or(0) > 0;
    request.keepAlive = message.keep_alive();
    fillPath(request);
    return request;
}

std::size_t HttpReader::read(std::span<char> buffer)
{
    auto& parser = *impl_->parser;
    while (!parser.is_done()) {
        auto& body = parser.get().body();
        body.data = buffer.data();
        body.size = buffer.size();
        Error error;
        http::read_some(impl_->stream, impl_->buffer, parser, error);
        if (error && error != http::error::need_buffer) throw ConnectionLost(error.message());
        if (const std::size_t size = buffer.size() - body.size; size > 0) return size;
    }
    return 0;
}

bool HttpReader::hasUnreadBody() const
{
    return impl_->parser && !impl_->parser->is_done();
}

} // namespace devserver
