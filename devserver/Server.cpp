#include "devserver/Server.h"

#include "devserver/Connection.h"
#include "devserver/Listener.h"
#include "devserver/Text.h"

#include <algorithm>
#include <atomic>
#include <list>
#include <stdexcept>
#include <thread>

namespace devserver {

namespace {

constexpr std::size_t connectionLimit = 1000;

Options checked(Options options)
{
    if (options.tls.requireClientCertificate && options.tls.clientAuthorities.empty())
        throw std::runtime_error("a client certificate is demanded, but no authority is named");
    return options;
}

} // namespace

class Server::Impl
{
public:
    explicit Impl(Options given)
        : site(checked(std::move(given))), router(site), log(site.options.logFile), listener(site.options),
          acceptThread_([this] { acceptAll(); })
    {
    }
    ~Impl() { stop(); }
    void stop();

    std::string baseUrl() const;
    template <class Choose>
    void abortWhere(Choose choose);

    Site site;
    Router router;
    FaultTable faults;
    RequestLog log;
    Listener listener;
    std::atomic<std::uint64_t> accepted = 0;

    std::size_t open() const;

private:
    struct Connection
    {
        std::unique_ptr<Transport> transport;
        std::atomic<bool> done = false;
        std::thread thread;
    };

    void acceptAll();
    void start(std::unique_ptr<Transport> transport);
    void reap();

    mutable std::mutex mutex_;
    std::list<Connection> connections_; // guarded by mutex_
    bool stopping_ = false;             // guarded by mutex_
    std::mutex stopMutex_;              // one stop() at a time
    std::thread acceptThread_;
};

void Server::Impl::acceptAll()
{
    while (auto transport = listener.accept()) {
        reap();
        start(std::move(transport));
    }
}

void Server::Impl::start(std::unique_ptr<Transport> transport)
{
    const std::lock_guard lock(mutex_);
    if (stopping_ || connections_.size() >= connectionLimit) return;
    const std::uint64_t id = ++accepted;
    Connection& connection = connections_.emplace_back();
    connection.transport = std::move(transport);
    connection.thread = std::thread([this, &connection, id] {
        serveConnection(*connection.transport, id, {site, router, faults, log});
        connection.done = true;
    });
}

// Joins the threads that have ended.
void Server::Impl::reap()
{
    const std::lock_guard lock(mutex_);
    connections_.remove_if([](Connection& connection) {
        if (!connection.done) return false;
        connection.thread.join();
        return true;
    });
}

template <class Choose>
void Server::Impl::abortWhere(Choose choose)
{
    const std::lock_guard lock(mutex_);
    for (Connection& connection : connections_)
        if (choose(*connection.transport)) connection.transport->abort();
}

std::size_t Server::Impl::open() const
{
    const std::lock_guard lock(mutex_);
    return static_cast<std::size_t>(
        std::ranges::count_if(connections_, [](const Connection& connection) { return !connection.done; }));
}

void Server::Impl::stop()
{
    const std::lock_guard once(stopMutex_);
    listener.stop();
    if (acceptThread_.joinable()) acceptThread_.join();
    std::list<Connection> ending;
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
        ending.splice(ending.end(), connections_);
    }
    for (Connection& connection : ending)
        connection.transport->abort();
    for (Connection& connection : ending)
        connection.thread.join();
}

std::string Server::Impl::baseUrl() const
{
    return (site.options.tls.enabled ? "https" : "http") + std::string("://127.0.0.1:") +
           std::to_string(listener.port());
}

Server::Server(Options options) : impl_(std::make_unique<Impl>(std::move(options))) {}

Server::~Server() = default;

std::uint16_t Server::port() const
{
    return impl_->listener.port();
}

std::string Server::url(std::string_view path) const
{
    return impl_->baseUrl() + percentEncoded(impl_->site.tree.mount() + std::string(path));
}

const Options& Server::options() const
{
    return impl_->site.options;
}

std::string Server::certificatePem() const
{
    return impl_->listener.certificatePem();
}

void Server::addFault(Fault fault)
{
    impl_->faults.add(std::move(fault));
}

void Server::clearFaults()
{
    impl_->faults.clear();
}

std::size_t Server::faultsStruck() const
{
    return impl_->faults.struck();
}

bool Server::waitForFaults(std::size_t count, std::chrono::seconds limit) const
{
    return impl_->faults.waitForStruck(count, limit);
}

void Server::releaseStalls()
{
    impl_->faults.releaseStalls();
    impl_->abortWhere([](const Transport& transport) { return transport.isStalled(); });
}

std::vector<RequestRecord> Server::requests() const
{
    return impl_->log.records();
}

void Server::clearRequests()
{
    impl_->log.clear();
}

std::size_t Server::requestCount(std::string_view method) const
{
    const auto records = requests();
    return static_cast<std::size_t>(std::ranges::count(records, method, &RequestRecord::method));
}

bool Server::waitUntilIdle(std::chrono::seconds limit) const
{
    return impl_->log.waitUntilIdle(limit);
}

std::uint64_t Server::connectionCount() const
{
    return impl_->accepted;
}

std::size_t Server::openConnectionCount() const
{
    return impl_->open();
}

void Server::closeConnections()
{
    impl_->abortWhere([](const Transport&) { return true; });
}

std::optional<std::string> Server::property(std::string_view path, std::string_view nameSpace,
                                            std::string_view name) const
{
    const auto resource = impl_->site.tree.resolve(impl_->site.tree.mount() + std::string(path));
    if (!resource) return {};
    const PropertyMap properties = impl_->site.properties.of(resource->file);
    const auto found = properties.find({std::string(nameSpace), std::string(name)});
    return found == properties.end() ? std::nullopt : std::optional(found->second);
}

void Server::setProperty(std::string_view path, std::string_view nameSpace, std::string_view name,
                         std::string_view value)
{
    const auto resource = impl_->site.tree.resolve(impl_->site.tree.mount() + std::string(path));
    if (!resource || !resource->status) throw std::runtime_error("no such resource: " + std::string(path));
    impl_->site.properties.change(resource->file, {{{std::string(nameSpace), std::string(name)}, xmlEscaped(value)}});
}

void Server::stop()
{
    impl_->stop();
}

} // namespace devserver
