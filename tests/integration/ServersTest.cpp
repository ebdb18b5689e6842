// The servers and proxies behave as the other tests of this program take for granted; curl is the client.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/ApacheServer.h"
#include "support/Certificates.h"
#include "support/Proxies.h"

namespace tidemark::testing {

namespace {

/// curl's exit status and the HTTP status.
std::pair<int, std::string> curl(std::vector<std::string> arguments, const std::string& input = {})
{
    std::vector<std::string> command{"curl", "-s", "-q", "-o", "/dev/null", "-w", "%{http_code}"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    const CommandOutput output = runCommand(command, input);
    return {output.status, output.out};
}

using Outcome = std::pair<int, std::string>;

} // namespace

TEST(Servers, ApacheServesDavAndItsLogSaysWhatCame)
{
    const ApacheServer server;
    EXPECT_EQ(curl({"--noproxy", "*", "-T", "-", server.url("/a.txt")}, "hello"), Outcome(0, "201"));
    EXPECT_EQ(readFile(server.root() / "a.txt"), "hello");
    EXPECT_EQ(curl({"--noproxy", "*", "-X", "PROPFIND", "-H", "Depth: 1", server.url(), server.url("/a.txt")}).first,
              0);

    const std::vector<ApacheRequest> requests = server.requests();
    EXPECT_EQ(countMethod(requests, "PUT"), 1U);
    EXPECT_EQ(countMethod(requests, "PROPFIND"), 2U);
    EXPECT_EQ(countConnections(requests), 2U);
}

TEST(Servers, ApacheAsksForItsSignIn)
{
    for (const SignIn signIn : {SignIn::basic, SignIn::digest}) {
        const ApacheServer server({.signIn = signIn});
        EXPECT_EQ(curl({"--noproxy", "*", server.url("/none")}), Outcome(0, "401"));
        EXPECT_EQ(curl({"--noproxy", "*", "--anyauth", "-u", "anna:wrong", server.url("/none")}), Outcome(0, "401"));
        EXPECT_EQ(curl({"--noproxy", "*", "--anyauth", "-u", "anna:open sesame", server.url("/none")}),
                  Outcome(0, "404"));
    }
}

TEST(Servers, ApacheSpeaksTlsAndDemandsClientCertificates)
{
    Certificates certificates;
    const ApacheServer server({.tls = ApacheTls{certificates.valid(), "TLSv1.2", certificates.authority()}});
    const std::string url = server.url("/none");
    const std::vector<std::string> trusting{"--noproxy", "*", "--cacert", certificates.authority()};

    const auto with = [&](std::vector<std::string> more) {
        more.insert(more.begin(), trusting.begin(), trusting.end());
        more.push_back(url);
        return curl(more);
    };
    const CertificateFiles client = certificates.client(), stranger = certificates.stranger();
    EXPECT_EQ(with({"--cert", client.certificate, "--key", client.key}), Outcome(0, "404"));
    EXPECT_EQ(with({}).second, "000");
    EXPECT_EQ(with({"--cert", stranger.certificate, "--key", stranger.key}).second, "000");
    EXPECT_EQ(server.requests().back().clientCertificate, "client");
}

TEST(Servers, CurlRefusesBadServerCertificates)
{
    Certificates certificates;
    for (const CertificateFiles& bad : {certificates.selfSigned(), certificates.expired(), certificates.wrongHost()}) {
        const ApacheServer server({.tls = ApacheTls{.certificate = bad}});
        const std::vector<std::string> arguments{"--noproxy", "*", "--cacert", certificates.authority(),
                                                 server.url("/none")};
        EXPECT_EQ(curl(arguments), Outcome(60, "000")) << bad.certificate;
    }
}

TEST(Servers, ProxiesForwardAndTunnelOnceSignedIn)
{
    Certificates certificates;
    const ApacheServer plain, secure({.tls = ApacheTls{.certificate = certificates.valid()}});
    const auto through = [&](std::uint16_t port, const std::string& user, const std::string& url) {
        return curl({"--noproxy", "", "--proxy", "http://127.0.0.1:" + std::to_string(port), "--proxy-anyauth",
                     "--proxy-user", user, "--cacert", certificates.authority(), url});
    };
    for (const SignIn signIn : {SignIn::none, SignIn::basic, SignIn::digest}) {
        SquidProxy proxy({.signIn = signIn});
        EXPECT_EQ(through(proxy.port(), "paul:let me out", plain.url("/none")), Outcome(0, "404"));
        EXPECT_EQ(through(proxy.port(), "paul:let me out", secure.url("/none")), Outcome(0, "404"));
        const std::string refused = signIn == SignIn::none ? "404" : "407";
        EXPECT_EQ(through(proxy.port(), "paul:wrong", plain.url("/none")), Outcome(0, refused));
        EXPECT_THAT(proxy.stopAndListRequests(),
                    ::testing::Contains(::testing::Field(&ProxyRequest::method, "CONNECT")));
    }
    const TinyProxy proxy({.signIn = SignIn::basic, .password = "letmeout"});
    EXPECT_EQ(through(proxy.port(), "paul:letmeout", plain.url("/none")), Outcome(0, "404"));
    EXPECT_EQ(through(proxy.port(), "paul:letmeout", secure.url("/none")), Outcome(0, "404"));
    EXPECT_EQ(through(proxy.port(), "paul:wrong", plain.url("/none")).second.substr(0, 1), "4");
}

} // namespace tidemark::testing
