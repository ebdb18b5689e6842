// Ways through a proxy: forwarded, tunnelled, signed in on either side or on both.

#include <algorithm>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Wire.h"
#include "davclient/ASWDCmdPropBase.h"
#include "davclient/ASWDCmdSimple.h"
#include "davclient/ASWDCmdUpload.h"

namespace tidemark::testing {

namespace {

constexpr SignIn everySignIn[] = {SignIn::none, SignIn::basic, SignIn::digest};

std::size_t countMethod(const std::vector<ProxyRequest>& requests, const std::string& method)
{
    return static_cast<std::size_t>(
        std::ranges::count_if(requests, [&](const ProxyRequest& request) { return request.method == method; }));
}

std::size_t countStatus(const std::vector<ProxyRequest>& requests, int status)
{
    return static_cast<std::size_t>(
        std::ranges::count_if(requests, [&](const ProxyRequest& request) { return request.status == status; }));
}

std::string put(const std::string& url, const std::shared_ptr<ASHttpConnectInfo>& info)
{
    auto command = std::make_shared<ASWDCmdPut>(urlOf(url), info);
    command->setSendsContentRange(false);
    command->setRequestBody(std::string(200'000, 'x'));
    return outcomeOf(*carryOut(command));
}

/// The parameter is the proxy's sign-in.
class Proxy : public ::testing::TestWithParam<SignIn>
{
protected:
    Certificates certificates_;
};

} // namespace

TEST_P(Proxy, HttpIsForwarded)
{
    SquidProxy proxy({.signIn = GetParam()});
    for (const SignIn signIn : everySignIn) {
        SCOPED_TRACE(nameOf(signIn));
        const ApacheServer server({.signIn = signIn});
        const auto info = connectInfoFor(server);
        useProxy(*info, proxy);
        EXPECT_EQ(outcomeOf(*send<ASWDCmdOptions>(server.url(), info)), "200");
        EXPECT_EQ(put(server.url("/file"), info), "201");
        EXPECT_EQ(outcomeOf(*send<ASWDCmdPropFind>(server.url(), info)), "207");

        const std::vector<ApacheRequest> requests = server.requests();
        EXPECT_EQ(countStatus(requests, 401), signIn == SignIn::none ? 0U : 1U);
        EXPECT_EQ(requests.size() - countStatus(requests, 401), 3U);
        EXPECT_NE(requests.front().via, "");
    }
    const std::vector<ProxyRequest> requests = proxy.stopAndListRequests();
    EXPECT_EQ(countMethod(requests, "CONNECT"), 0U);
    EXPECT_EQ(countStatus(requests, 407), GetParam() == SignIn::none ? 0U : 3U);
}

TEST_P(Proxy, HttpsIsTunnelled)
{
    SquidProxy proxy({.signIn = GetParam()});
    for (const SignIn signIn : everySignIn) {
        SCOPED_TRACE(nameOf(signIn));
        const ApacheServer server({.signIn = signIn, .tls = ApacheTls{.certificate = certificates_.valid()}});
        const auto info = connectInfoFor(server);
        info->setExtraTrustFile(certificates_.authority());
        useProxy(*info, proxy);
        EXPECT_EQ(outcomeOf(*send<ASWDCmdOptions>(server.url(), info)), "200");
        EXPECT_EQ(put(server.url("/file"), info), "201");
        EXPECT_EQ(outcomeOf(*send<ASWDCmdPropFind>(server.url(), info)), "207");

        const std::vector<ApacheRequest> requests = server.requests();
        EXPECT_EQ(requests.size() - countStatus(requests, 401), 3U);
        EXPECT_EQ(countConnections(requests), 1U);
        EXPECT_EQ(requests.back().proxyAuthorization, "");
        EXPECT_EQ(requests.back().via, "");
    }
    const std::vector<ProxyRequest> requests = proxy.stopAndListRequests();
    EXPECT_EQ(countMethod(requests, "CONNECT"), requests.size());
    EXPECT_EQ(countStatus(requests, 200), 3U);
}

TEST_P(Proxy, AsHttpsProxyItTunnelsHttpToo)
{
    SquidProxy proxy({.signIn = GetParam()});
    const ApacheServer server({.signIn = SignIn::basic});
    const auto info = connectInfoFor(server);
    useProxy(*info, proxy);
    info->setIsUseProxyHTTPS(true);
    EXPECT_EQ(outcomeOf(*send<ASWDCmdOptions>(server.url(), info)), "200");
    EXPECT_EQ(server.requests().back().via, "");
    EXPECT_EQ(server.requests().back().proxyAuthorization, "");
    const std::vector<ProxyRequest> requests = proxy.stopAndListRequests();
    EXPECT_EQ(countMethod(requests, "CONNECT"), requests.size());
}

TEST_P(Proxy, AWrongPasswordIsSentOnceAndReachesNoServer)
{
    if (GetParam() == SignIn::none) return;
    const ApacheServer plain, secure({.tls = ApacheTls{.certificate = certificates_.valid()}});
    for (const ApacheServer* server : {&plain, &secure}) {
        SquidProxy proxy({.signIn = GetParam()});
        const auto info = connectInfoFor(*server);
        info->setExtraTrustFile(certificates_.authority());
        useProxy(*info, proxy);
        info->setProxyPassword("wrong");
        EXPECT_EQ(outcomeOf(*send<ASWDCmdOptions>(server->url(), info)), "failed");
        EXPECT_TRUE(server->requests().empty());
        const std::vector<ProxyRequest> requests = proxy.stopAndListRequests();
        EXPECT_EQ(countStatus(requests, 407), 2U);
        EXPECT_EQ(requests.size(), 2U);
        // The proxy logs the name of who has answered its challenge.
        EXPECT_EQ(std::ranges::count(requests, proxy.options().user, &ProxyRequest::user), 1);
    }
}

INSTANTIATE_TEST_SUITE_P(SignIn, Proxy, ::testing::ValuesIn(everySignIn),
                         [](const auto& value) { return nameOf(value.param); });

TEST(Proxy, TinyproxyForwardsAndTunnels)
{
    Certificates certificates;
    const TinyProxy proxy({.signIn = SignIn::basic, .password = "letmeout"});
    const ApacheServer plain({.signIn = SignIn::digest});
    const ApacheServer secure({.signIn = SignIn::digest, .tls = ApacheTls{.certificate = certificates.valid()}});
    for (const ApacheServer* server : {&plain, &secure}) {
        const auto info = connectInfoFor(*server);
        info->setExtraTrustFile(certificates.authority());
        useProxy(*info, proxy);
        EXPECT_EQ(outcomeOf(*send<ASWDCmdOptions>(server->url(), info)), "200");
        EXPECT_EQ(put(server->url("/file"), info), "201");
        EXPECT_EQ(countStatus(server->requests(), 401), 1U);
    }
}

TEST(Proxy, AProxyThatIsNotThereIsAnError)
{
    const ApacheServer server;
    const auto info = connectInfoFor(server);
    info->setIsUseProxy(true);
    info->setProxyHost("127.0.0.1");
    info->setProxyPort(freePort());
    EXPECT_EQ(outcomeOf(*send<ASWDCmdOptions>(server.url(), info)), "failed");
    EXPECT_TRUE(server.requests().empty());
}

} // namespace tidemark::testing
