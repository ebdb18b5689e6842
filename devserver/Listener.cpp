#include "devserver/Listener.h"

#include "devserver/HttpMessage.h"
#include "devserver/TlsContext.h"

#include <array>
#include <atomic>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl.hpp>
#include <boost/asio/write.hpp>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>

namespace devserver {

namespace {

namespace asio = boost::asio;
using asio::ip::tcp;
using Error = boost::system::error_code;

constexpr int lingerMilliseconds = 2000;

template <class Stream>
class StreamTransport : public Transport
{
public:
    template <class... Arguments>
    explicit StreamTransport(int descriptor, Arguments&&... arguments)
        : Transport(descriptor), stream_(std::forward<Arguments>(arguments)...)
    {
    }
    ~StreamTransport() override { retireDescriptor(); }

    std::size_t readSome(std::span<char> buffer) override
    {
        Error error;
        const std::size_t size = stream_.read_some(asio::buffer(buffer.data(), buffer.size()), error);
        if (error == asio::error::eof || error == asio::ssl::error::stream_truncated) return 0;
        if (error) throw ConnectionLost(error.message());
        return size;
    }

    void write(std::string_view data) override
    {
        Error error;
        asio::write(stream_, asio::buffer(data), error);
        if (error) throw ConnectionLost(error.message());
    }

protected:
    Stream stream_;
};

class PlainTransport : public StreamTransport<tcp::socket>
{
public:
    using StreamTransport::StreamTransport;

    void handshake() override {}

    void finish() override
    {
        shutdown(descriptor(), SHUT_WR);
        std::array<char, 65536> buffer{};
        pollfd watched{descriptor(), POLLIN, 0};
        while (poll(&watched, 1, lingerMilliseconds) > 0 && recv(descriptor(), buffer.data(), buffer.size(), 0) > 0) {
        }
    }
};

class TlsTransport : public StreamTransport<asio::ssl::stream<tcp::socket>>
{
public:
    using StreamTransport::StreamTransport;

    void handshake() override
    {
        Error error;
        stream_.handshake(asio::ssl::stream_base::server, error);
        if (error) throw ConnectionLost(error.message());
    }

    void finish() override
    {
        // With the reading side shut, the TLS shutdown sends its notice and does not wait for the peer's.
        shutdown(descriptor(), SHUT_RD);
        Error ignored;
        stream_.shutdown(ignored);
    }
};

} // namespace

struct Listener::Impl
{
    asio::io_context context;
    tcp::acceptor acceptor{context};
    std::unique_ptr<TlsContext> tls;
    std::atomic<bool> stopped = false;
    std::uint16_t port = 0;
    std::string certificate;
};

Listener::Listener(const Options& options) : impl_(std::make_unique<Impl>())
{
    if (options.tls.enabled) {
        impl_->tls = std::make_unique<TlsContext>(options.tls);
        impl_->certificate = impl_->tls->certificatePem();
    }
    Error error;
    impl_->acceptor.open(tcp::v4());
    impl_->acceptor.set_option(tcp::acceptor::reuse_address(true));
    impl_->acceptor.bind({asio::ip::address_v4::loopback(), options.port}, error);
    if (!error) impl_->acceptor.listen(asio::socket_base::max_listen_connections, error);
    if (error)
        throw std::runtime_error("cannot listen on port " + std::to_string(options.port) + ": " + error.message());
    impl_->port = impl_->acceptor.local_endpoint().port();
}

Listener::~Listener() = default;

std::uint16_t Listener::port() const
{
    return impl_->port;
}

const std::string& Listener::certificatePem() const
{
    return impl_->certificate;
}

std::unique_ptr<Transport> Listener::accept()
{
    while (!impl_->stopped) {
        Error error;
        tcp::socket socket(impl_->context);
        impl_->acceptor.accept(socket, error);
        if (error) continue;
        socket.set_option(tcp::no_delay(true), error);
        const int descriptor = socket.native_handle();
        if (impl_->tls) return std::make_unique<TlsTransport>(descriptor, std::move(socket), impl_->tls->context());
        return std::make_unique<PlainTransport>(descriptor, std::move(socket));
    }
    return nullptr;
}

void Listener::stop()
{
    impl_->stopped = true;
    shutdown(impl_->acceptor.native_handle(), SHUT_RDWR);
}

} // namespace devserver
