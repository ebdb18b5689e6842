#include "support/Proxies.h"

#include <functional>
#include <sstream>
#include <stdexcept>

namespace fs = std::filesystem;

namespace tidemark::testing {

namespace {

constexpr const char* realm = "proxy";

/// Starts a program with a configuration that names `port`; tries another port where that one has been taken.
std::unique_ptr<ServerProcess> startProxy(const fs::path& folder, std::uint16_t& port,
                                          const std::function<std::string()>& configuration,
                                          const std::vector<std::string>& arguments)
{
    const fs::path messages = folder / "messages";
    for (int attempt = 0; attempt < 3; ++attempt) {
        port = freePort();
        writeFile(folder / "proxy.conf", configuration());
        auto process = std::make_unique<ServerProcess>(arguments, messages);
        if (process->waitForPort(port)) return process;
    }
    throw std::runtime_error(arguments.at(0) + " does not start: " + readFile(messages));
}

} // namespace

SquidProxy::SquidProxy(ProxyOptions options) : options_(std::move(options))
{
    const std::string hash =
        requireCommand({"openssl", "dgst", "-md5", "-r"}, options_.user + ":" + realm + ":" + options_.password);
    writeFile(directory_.path() / "digest.passwords", options_.user + ":" + realm + ":" + hash.substr(0, 32) + "\n");
    writeFile(directory_.path() / "basic.passwords",
              requireCommand({"htpasswd", "-nbm", options_.user, options_.password}));
    directory_.handOver();
    process_ = startProxy(directory_.path(), port_, [this] { return configuration(); },
                          {"squid", "-N", "-d", "1", "-f", (directory_.path() / "proxy.conf").string()});
}

SquidProxy::~SquidProxy()
{
    process_->kill();
}

std::string SquidProxy::signInDirectives() const
{
    const std::string base = directory_.path().string();
    switch (options_.signIn) {
    case SignIn::none:
        return "http_access allow all\n";
    case SignIn::basic:
        return "auth_param basic program /usr/lib/squid/basic_ncsa_auth " + base + "/basic.passwords\n" +
               "auth_param basic realm " + realm + "\nauth_param basic children 1 startup=1\n" +
               "acl known proxy_auth REQUIRED\nhttp_access allow known\nhttp_access deny all\n";
    case SignIn::digest:
        return "auth_param digest program /usr/lib/squid/digest_file_auth -c " + base + "/digest.passwords\n" +
               "auth_param digest realm " + realm + "\nauth_param digest children 1 startup=1\n" +
               "acl known proxy_auth REQUIRED\nhttp_access allow known\nhttp_access deny all\n";
    }
    throw std::logic_error("no such sign-in");
}

std::string SquidProxy::configuration() const
{
    const std::string base = directory_.path().string();
    std::ostringstream text;
    text << "http_port 127.0.0.1:" << port_ << "\nvisible_hostname localhost\npid_filename " << base << "/pid\n"
         << "logformat tests %rm %ru %>Hs %un\naccess_log stdio:" << base << "/access.log tests\n"
         << "cache_log " << base << "/cache.log\ncache_store_log none\nnetdb_filename none\ncoredump_dir " << base
         << "\n"
         << "cache deny all\ncache_mem 8 MB\npinger_enable off\nmax_filedescriptors 1024\nshutdown_lifetime 0 seconds\n"
         << signInDirectives();
    return text.str();
}

std::vector<ProxyRequest> SquidProxy::stopAndListRequests()
{
    process_->stop();
    std::istringstream log(readFile(directory_.path() / "access.log"));
    std::vector<ProxyRequest> requests;
    for (ProxyRequest request; log >> request.method >> request.target >> request.status >> request.user;)
        if (!request.target.starts_with("error:")) requests.push_back(request); // not the tries of waitForPort()
    return requests;
}

TinyProxy::TinyProxy(ProxyOptions options) : options_(std::move(options))
{
    directory_.handOver();
    process_ = startProxy(directory_.path(), port_, [this] { return configuration(); },
                          {"tinyproxy", "-d", "-c", (directory_.path() / "proxy.conf").string()});
}

std::string TinyProxy::configuration() const
{
    std::ostringstream text;
    text << "Port " << port_ << "\nListen 127.0.0.1\nTimeout 120\nMaxClients 20\nLogLevel Warning\n"
         << "PidFile \"" << (directory_.path() / "pid").string() << "\"\n";
    if (options_.signIn == SignIn::basic) text << "BasicAuth " << options_.user << " " << options_.password << "\n";
    return text.str();
}

} // namespace tidemark::testing
