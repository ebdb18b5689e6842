#include "devserver/Server.h"

#include <CLI/CLI.hpp>
#include <csignal>
#include <fstream>
#include <iostream>
#include <map>
#include <pthread.h>

namespace {

struct CommandLine
{
    devserver::Options options;
    bool product = false;
    bool plain = false;
    std::filesystem::path passwordFile;
    std::filesystem::path portFile;
    std::vector<std::string> faults;
    std::vector<std::string> refusals;
};

const std::map<std::string, devserver::AuthScheme> authSchemes = {{"none", devserver::AuthScheme::None},
                                                                  {"basic", devserver::AuthScheme::Basic},
                                                                  {"digest", devserver::AuthScheme::Digest}};
const std::map<std::string, devserver::TlsVersion> tlsVersions = {{"1.2", devserver::TlsVersion::Tls12},
                                                                  {"1.3", devserver::TlsVersion::Tls13}};
const std::map<std::string, devserver::PartialPut> partialPuts = {{"write", devserver::PartialPut::Write},
                                                                  {"501", devserver::PartialPut::NotImplemented},
                                                                  {"400", devserver::PartialPut::BadRequest}};
const std::map<std::string, devserver::FolderWithoutSlash> slashRules = {
    {"serve", devserver::FolderWithoutSlash::Serve},
    {"301", devserver::FolderWithoutSlash::Redirect},
    {"409", devserver::FolderWithoutSlash::Conflict}};

template <class Value>
void addChoice(CLI::App& app, const std::string& name, Value& value, const std::map<std::string, Value>& choices,
               const std::string& help)
{
    app.add_option(name, value, help)->transform(CLI::CheckedTransformer(choices));
}

void addServing(CLI::App& app, CommandLine& line)
{
    auto& options = line.options;
    app.add_option("--root", options.root, "Folder to serve")->required()->check(CLI::ExistingDirectory);
    app.add_option("--port", options.port, "Port on 127.0.0.1; 0 is any free one")->capture_default_str();
    app.add_option("--mount", options.mount, "URL path of the folder")->capture_default_str();
    app.add_option("--log", options.logFile, "Write one JSON line per request to this file");
    app.add_option("--port-file", line.portFile, "Write the port to this file once it is open");
    app.add_option("--fault", line.faults, "METHOD:PATTERN:COUNT:KIND=VALUE; may be repeated")->take_all();
    app.add_flag("--control", options.control, "Take faults at POST /.devserver/fault, show GET /.devserver/requests");
    app.add_option("--refuse", line.refusals,
                   "STATUS:GLOB[:SIZE] refuses uploads of such names and sizes; 403x adds the extension header");
    addChoice(app, "--partial-put", options.partialPut, partialPuts, "What a plain server makes of Content-Range");
    addChoice(app, "--folder-without-slash", options.folderWithoutSlash, slashRules,
              "Answer to a folder's URL without its last \"/\"");
    app.add_flag("--raw-plus", options.rawPlusInHref, "Leave \"+\" unescaped in listings");
    app.add_flag("!--no-keep-alive", options.keepAlive, "End every connection with its first answer");
}

void addProduct(CLI::App& app, CommandLine& line)
{
    auto& product = line.options.product;
    auto* productFlag = app.add_flag("--product", line.product, "Speak the product's extensions");
    app.add_flag("--plain", line.plain, "Plain WebDAV (default)")->excludes(productFlag);
    app.add_option("--version-header", product.version, "Version to announce")->capture_default_str();
    app.add_option("--primary", product.primary, "Primary to announce");
    app.add_option("--user-header", product.user, "User to announce; who signs in when not given");
    app.add_option("--platform", product.platform, "Platform to announce; \"w\" is Windows");
    app.add_option("--crypto-file", product.cryptoFile, "Server-side encryption to announce, 1 or 2");
    app.add_flag("--readonly", product.readonlyEnable, "Announce the read-only option");
    app.add_option("--cookie", product.cookies, "Value of a Set-Cookie header; may be repeated")->take_all();
}

void addSignIn(CLI::App& app, CommandLine& line)
{
    auto& options = line.options;
    addChoice(app, "--auth", options.auth, authSchemes, "Sign-in: none, basic or digest");
    app.add_option("--user", options.user, "User name");
    app.add_option("--password-file", line.passwordFile, "File whose first line is the password")
        ->check(CLI::ExistingFile);
    app.add_option("--realm", options.realm, "Realm")->capture_default_str();
    app.add_option("--nonce-uses", options.nonceUses, "Requests until a Digest nonce is stale; 0 is never");
    app.add_flag("--tls", options.tls.enabled, "Serve https, with a certificate made at the start if none is given");
    app.add_option("--tls-cert", options.tls.certificateFile, "Certificate (PEM); implies --tls")
        ->check(CLI::ExistingFile);
    app.add_option("--tls-key", options.tls.keyFile, "Its key (PEM)")->check(CLI::ExistingFile);
    app.add_option("--tls-client-ca", options.tls.clientAuthorities,
                   "Demand a client certificate signed by one of these")
        ->check(CLI::ExistingFile);
    addChoice(app, "--tls-min", options.tls.minimum, tlsVersions, "Lowest TLS version");
    addChoice(app, "--tls-max", options.tls.maximum, tlsVersions, "Highest TLS version");
}

// What the parsed texts mean; throws std::runtime_error for one that means nothing.
void complete(CommandLine& line)
{
    auto& options = line.options;
    options.mode = line.product ? devserver::Mode::Product : devserver::Mode::Plain;
    options.tls.enabled |= !options.tls.certificateFile.empty();
    options.tls.requireClientCertificate = !options.tls.clientAuthorities.empty();
    if (!line.passwordFile.empty()) {
        std::ifstream file(line.passwordFile);
        std::getline(file, options.password);
    }
    if (options.auth != devserver::AuthScheme::None && options.user.empty())
        throw std::runtime_error("--auth needs --user and --password-file");
    for (const auto& text : line.refusals) {
        const auto rule = devserver::parseRefusalRule(text);
        if (!rule) throw std::runtime_error("not a refusal rule: " + text);
        options.refusals.push_back(*rule);
    }
}

std::vector<devserver::Fault> faultsOf(const CommandLine& line)
{
    std::vector<devserver::Fault> faults;
    for (const auto& text : line.faults) {
        std::string problem;
        auto fault = devserver::parseFault(text, problem);
        if (!fault) throw std::runtime_error(problem);
        faults.push_back(std::move(*fault));
    }
    return faults;
}

// Written beside and renamed, so that whoever waits for the file never reads half a number.
void writePort(const std::filesystem::path& path, std::uint16_t port)
{
    std::filesystem::path beside = path;
    beside += ".new";
    std::ofstream(beside) << port << '\n';
    std::filesystem::rename(beside, path);
}

void serve(CommandLine& line)
{
    complete(line);
    const auto faults = faultsOf(line);
    // Blocked before the server's threads start, so that the signal waits for sigwait here.
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    devserver::Server server(line.options);
    for (const auto& fault : faults)
        server.addFault(fault);
    std::cout << "listening on " << server.url() << std::endl;
    if (!line.portFile.empty()) writePort(line.portFile, server.port());
    int received = 0;
    sigwait(&signals, &received);
    server.stop();
}

} // namespace

int main(int argc, char** argv)
{
    CLI::App app("A WebDAV server over a folder, on the loopback interface, for demonstrations and tests");
    CommandLine line;
    addServing(app, line);
    addProduct(app, line);
    addSignIn(app, line);
    CLI11_PARSE(app, argc, argv);
    try {
        serve(line);
    } catch (const std::exception& problem) {
        std::cerr << "marlock-devserver: " << problem.what() << '\n';
        return 1;
    }
    return 0;
}
