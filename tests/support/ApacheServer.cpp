#include "support/ApacheServer.h"

#include <algorithm>
#include <sstream>
#include <stdexcept>

namespace fs = std::filesystem;

namespace tidemark::testing {

namespace {

constexpr const char* realm = "tidemark";
constexpr const char* logFormat =
    R"(%m\t%U%q\t%>s\t%k\t%I\t%u\t%{Authorization}i\t%{Cookie}i\t%{Via}i\t%{Proxy-Authorization}i)"
    R"(\t%{SSL_CLIENT_S_DN_CN}x\t%{SSL_PROTOCOL}x)";

std::vector<std::string> fieldsOf(const std::string& line)
{
    std::vector<std::string> fields;
    std::istringstream stream(line);
    for (std::string field; std::getline(stream, field, '\t');)
        fields.push_back(field == "-" ? "" : field);
    return fields;
}

ApacheRequest requestFromLine(const std::string& line)
{
    const std::vector<std::string> fields = fieldsOf(line);
    if (fields.size() != 12) throw std::runtime_error("Unexpected line in the access log: " + line);
    return {fields[0],
            fields[1],
            std::stoi(fields[2]),
            std::stoi("0" + fields[3]),
            std::stoull("0" + fields[4]),
            fields[5],
            fields[6],
            fields[7],
            fields[8],
            fields[9],
            fields[10],
            fields[11]};
}

} // namespace

ApacheServer::ApacheServer(ApacheOptions options) : options_(std::move(options)), root_(directory_.makeFolder("www"))
{
    directory_.makeFolder("state");
    writePasswords();
    directory_.handOver();
    start();
}

std::string ApacheServer::url(std::string_view path, std::string_view host) const
{
    std::ostringstream text;
    text << (options_.tls ? "https://" : "http://") << host << ":" << port_ << path;
    return text.str();
}

bool ApacheServer::startProcess()
{
    const fs::path file = directory_.path() / "httpd.conf";
    writeFile(file, configuration());
    process_ = std::make_unique<ServerProcess>(
        std::vector<std::string>{"apache2", "-D", "FOREGROUND", "-f", file.string()}, directory_.path() / "messages");
    return process_->waitForPort(port_) && process_->waitForPort(statusPort_);
}

// A free port may be taken by somebody else before the server has it: another one is tried then.
void ApacheServer::start()
{
    for (int attempt = 0; attempt < 3; ++attempt) {
        port_ = freePort();
        statusPort_ = freePort();
        if (startProcess()) return;
    }
    throw std::runtime_error("Apache does not start: " + readFile(directory_.path() / "messages") +
                             readFile(directory_.path() / "error.log"));
}

void ApacheServer::restart()
{
    process_->stop();
    if (!startProcess()) throw std::runtime_error("Apache does not start again.");
}

void ApacheServer::writePasswords() const
{
    const std::string hash =
        requireCommand({"openssl", "dgst", "-md5", "-r"}, options_.user + ":" + realm + ":" + options_.password);
    writeFile(directory_.path() / "digest.passwords", options_.user + ":" + realm + ":" + hash.substr(0, 32) + "\n");
    // The quick hash: the password is checked with every request.
    writeFile(directory_.path() / "basic.passwords",
              requireCommand({"htpasswd", "-nbs", options_.user, options_.password}));
}

std::string ApacheServer::modules() const
{
    std::string text;
    for (const char* name :
         {"mpm_event", "authz_core", "authz_user", "authn_core", "authn_file", "auth_basic", "auth_digest", "dav",
          "dav_fs", "dir", "mime", "alias", "headers", "setenvif", "status", "socache_shmcb", "ssl"})
        text += std::string("LoadModule ") + name + "_module /usr/lib/apache2/modules/mod_" + name + ".so\n";
    return text;
}

std::string ApacheServer::signInDirectives() const
{
    if (options_.signIn == SignIn::none) return "Require all granted\n";
    const std::string scheme = options_.signIn == SignIn::basic ? "Basic" : "Digest";
    const std::string file = options_.signIn == SignIn::basic ? "basic.passwords" : "digest.passwords";
    const std::string provider = "Auth" + scheme + "Provider file\n";
    return "AuthType " + scheme + "\nAuthName " + realm + "\n" + provider + "AuthUserFile \"" +
           (directory_.path() / file).string() + "\"\nRequire valid-user\n";
}

std::string ApacheServer::tlsDirectives() const
{
    if (!options_.tls) return {};
    const ApacheTls& tls = *options_.tls;
    std::string text = "SSLEngine on\nSSLProtocol " + tls.protocol + "\nSSLCertificateFile \"" +
                       tls.certificate.certificate + "\"\nSSLCertificateKeyFile \"" + tls.certificate.key + "\"\n";
    if (!tls.clientAuthority.empty())
        text += "SSLVerifyClient require\nSSLCACertificateFile \"" + tls.clientAuthority + "\"\n";
    return text;
}

std::string ApacheServer::configuration() const
{
    const std::string base = directory_.path().string();
    const std::string address = "127.0.0.1:" + std::to_string(port_);
    const std::string statusAddress = "127.0.0.1:" + std::to_string(statusPort_);
    std::ostringstream text;
    text << "ServerRoot \"" << base << "\"\nServerName localhost\nDefaultRuntimeDir state\nPidFile state/pid\n"
         << "Mutex file:state default\n"
         << modules() << "ErrorLog error.log\nTypesConfig /dev/null\n"
         << "ServerLimit 1\nStartServers 1\nThreadsPerChild 16\nMaxRequestWorkers 16\nMaxKeepAliveRequests 0\n"
         << "KeepAliveTimeout 120\nListen " << address << "\nListen " << statusAddress << "\n"
         << "LogFormat \"" << logFormat << "\" tests\nDavLockDB state/locks\nSSLSessionCache none\n"
         << "<VirtualHost " << statusAddress
         << ">\n<Location />\nSetHandler server-status\n</Location>\n</VirtualHost>\n"
         << "<VirtualHost " << address << ">\nDocumentRoot \"" << root_.string() << "\"\nCustomLog access.log tests\n"
         << tlsDirectives() << "<Directory \"" << root_.string() << "\">\nDav On\n"
         << signInDirectives() << "</Directory>\n"
         << options_.directives << "\n</VirtualHost>\n";
    return text.str();
}

void ApacheServer::waitUntilIdle() const
{
    const std::string status = "http://127.0.0.1:" + std::to_string(statusPort_) + "/?auto";
    for (int attempt = 0; attempt < 200; ++attempt) {
        const std::string answer = requireCommand({"curl", "-s", "--noproxy", "*", status});
        // The one that answers.
        if (answer.find("BusyWorkers: 1\n") != std::string::npos) return;
    }
    throw std::runtime_error("Apache does not come to rest.");
}

std::vector<ApacheRequest> ApacheServer::requests() const
{
    waitUntilIdle();
    std::istringstream log(readFile(directory_.path() / "access.log").substr(readLog_));
    std::vector<ApacheRequest> requests;
    for (std::string line; std::getline(log, line);)
        requests.push_back(requestFromLine(line));
    return requests;
}

void ApacheServer::clearRequests()
{
    waitUntilIdle();
    readLog_ = fs::file_size(directory_.path() / "access.log");
}

std::ostream& operator<<(std::ostream& stream, const ApacheRequest& request)
{
    return stream << "\n"
                  << request.method << " " << request.target << " " << request.status
                  << (request.authorization.empty() ? "" : " signed in");
}

std::size_t countMethod(const std::vector<ApacheRequest>& requests, std::string_view method)
{
    return static_cast<std::size_t>(
        std::ranges::count_if(requests, [&](const ApacheRequest& request) { return request.method == method; }));
}

std::size_t countStatus(const std::vector<ApacheRequest>& requests, int status)
{
    return static_cast<std::size_t>(
        std::ranges::count_if(requests, [&](const ApacheRequest& request) { return request.status == status; }));
}

std::size_t countConnections(const std::vector<ApacheRequest>& requests)
{
    return static_cast<std::size_t>(
        std::ranges::count_if(requests, [](const ApacheRequest& request) { return request.requestsBefore == 0; }));
}

} // namespace tidemark::testing
