#include <set>

#include "WireFixture.h"
#include "davclient/ASHttpAuthentication.h"
#include "davclient/ASWDCmdPropBase.h"
#include "davclient/ASWDCmdSimple.h"
#include "davclient/ASWDCmdUpload.h"

namespace tidemark {
namespace {

using testing::httpAnswer;
using testing::RawServer;
using Scheme = HttpAuthenticationScheme;

ASHttpAuthentication challengeOf(std::initializer_list<std::string> values, int status = 401)
{
    HttpResponseHead head;
    head.statusCode = status;
    for (const auto& value : values)
        head.header.add(status == 407 ? "Proxy-Authenticate" : "WWW-Authenticate", value);
    return authenticationFromResponse(head);
}

TEST(ASHttpAuthentication, TakesTheStrongestSchemeThatCanBeAnswered)
{
    EXPECT_EQ(challengeOf({"Basic realm=\"a, \\\"b\\\"\""}).method, Scheme::basic);
    EXPECT_EQ(challengeOf({"Basic realm=\"a, \\\"b\\\"\""}).realm, "a, \"b\"");
    EXPECT_EQ(challengeOf({"bAsIc realm=x, DIGEST realm=\"y\", nonce=\"n\", qop=\"auth,auth-int\""}).method,
              Scheme::digest);
    EXPECT_EQ(challengeOf({"Digest realm=y,nonce=n,algorithm=SHA-256", "Basic realm=x"}).realm, "y");
    EXPECT_EQ(challengeOf({"Negotiate", "NTLM abc==", "Basic realm=x"}).method, Scheme::basic);
    EXPECT_EQ(challengeOf({"Digest realm=y, nonce=n, algorithm=SHA-512-256, Basic realm=x"}).method, Scheme::basic);
    EXPECT_TRUE(challengeOf({"Basic realm=x"}, 407).isProxy);
}

TEST(ASHttpAuthentication, NothingUsableIsNoScheme)
{
    for (const auto* value : {"", "Negotiate", "Digest realm=y", "Digest nonce=n, algorithm=XYZ", "=,=\"", "realm=x",
                              "Digest realm=\"unclosed, nonce=n"})
        EXPECT_EQ(challengeOf({value}).method, Scheme::none) << value;
    EXPECT_EQ(challengeOf({}).method, Scheme::none);
}

/// A server (or a proxy) that asks for sign-in and counts what it is asked.
class SignIn : public testing::WireFixture
{
protected:
    static constexpr const char* basicHeader = "Basic dXNlcjpwYXNz"; // user:pass

    void SetUp() override
    {
        WireFixture::SetUp();
        info_->setIsUseAuthorization(true);
        info_->setUsername("user");
        info_->setPassword("pass");
    }

    void serveBasic()
    {
        serve([](const RawServer::Request& request) -> RawServer::Answer {
            if (request.field("Authorization") == basicHeader) return {httpAnswer(207, "ok")};
            return {httpAnswer(401, "denied", "WWW-Authenticate: Basic realm=\"r\"\r\nSet-Cookie: seen=1\r\n")};
        });
    }

    /// Accepts any answer that carries a nonce which is still good.
    void serveDigest()
    {
        serve([this](const RawServer::Request& request) -> RawServer::Answer {
            const std::string answer = request.field("Authorization");
            const auto begin = answer.find("nonce=\"") + 7;
            const std::string nonce = answer.empty() ? "" : answer.substr(begin, answer.find('"', begin) - begin);
            if (nonce == nonce_) return {httpAnswer(207, "ok")};
            const std::string stale = nonce.empty() || !marksStale_ ? "" : ", stale=true";
            return {httpAnswer(401, "denied",
                               "WWW-Authenticate: Digest realm=\"r\", qop=\"auth\", nonce=\"" + nonce_ + "\"" + stale +
                                   "\r\n")};
        });
    }

    int runPropFind()
    {
        auto command = make<ASWDCmdPropFind>();
        command->setRequestBody("<p/>");
        run(*command);
        last_ = command;
        EXPECT_EQ(handled_, 1);
        return command->statusCode();
    }
    std::size_t count() const { return server_->requests().size(); }

    std::string nonce_ = "n1";
    bool marksStale_ = true;
    std::shared_ptr<ASWDCmdPropFind> last_;
};

TEST_F(SignIn, BasicIsAnsweredOnceThenSentWithoutBeingAsked)
{
    serveBasic();
    EXPECT_EQ(runPropFind(), 207);
    EXPECT_EQ(last_->responseBody(), "ok");
    EXPECT_FALSE(last_->error());
    EXPECT_EQ(count(), 2U);
    EXPECT_EQ(server_->requests()[0].field("Authorization"), "");
    EXPECT_EQ(server_->requests()[1].field("Cookie"), "seen=1");
    EXPECT_EQ(info_->authenticationScheme(), Scheme::basic);
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(runPropFind(), 207);
    EXPECT_EQ(count(), 7U);
    EXPECT_EQ(server_->connections(), 1);
}

TEST_F(SignIn, DigestKeepsItsNonceBetweenRequests)
{
    serveDigest();
    EXPECT_EQ(runPropFind(), 207);
    EXPECT_EQ(count(), 2U);
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(runPropFind(), 207);
    EXPECT_EQ(count(), 7U);
    std::set<std::string> answers;
    for (const auto& request : server_->requests())
        answers.insert(request.field("Authorization"));
    EXPECT_EQ(answers.size(), 7U) << "the nonce count makes every answer another one";
}

TEST_F(SignIn, AStaleNonceCostsOneRepetitionOfTheBody)
{
    serveDigest();
    runPropFind();
    for (const bool marks : {true, false}) {
        marksStale_ = marks;
        nonce_ += "x";
        const auto before = count();
        auto command = make<ASWDCmdPut>();
        command->setRequestBody(std::string(100'000, 'b'));
        run(*command);
        EXPECT_EQ(command->statusCode(), 207);
        EXPECT_EQ(count(), before + 2);
        EXPECT_EQ(server_->requests().back().body.size(), 100'000U);
    }
}

TEST_F(SignIn, WrongPasswordIsAnsweredOnce)
{
    const std::string challenges[] = {"Basic realm=\"r\"", "Digest realm=\"r\", nonce=\"n\", qop=\"auth\""};
    for (const auto& challenge : challenges) {
        info_ = std::make_shared<ASHttpConnectInfo>();
        SetUp();
        serve(httpAnswer(401, "denied", "WWW-Authenticate: " + challenge + "\r\n"));
        EXPECT_EQ(runPropFind(), 401);
        ASSERT_TRUE(last_->error());
        EXPECT_EQ(last_->error()->code, ASWDCmd::requestFailed);
        EXPECT_FALSE(last_->connection()->error());
        EXPECT_EQ(count(), 2U);
        EXPECT_EQ(last_->error()->description().find("pass"), std::string::npos);
    }
}

TEST_F(SignIn, AServerThatCallsEveryNonceStaleIsNotFollowedForEver)
{
    serve(httpAnswer(401, "", "WWW-Authenticate: Digest realm=\"r\", nonce=\"n\", qop=\"auth\", stale=true\r\n"));
    runPropFind();
    EXPECT_TRUE(last_->error());
    EXPECT_LT(count(), 20U);
}

TEST_F(SignIn, WithoutCredentialsTheFirstChallengeFails)
{
    info_->setIsUseAuthorization(false);
    serveBasic();
    EXPECT_EQ(runPropFind(), 401);
    EXPECT_TRUE(last_->error());
    EXPECT_EQ(count(), 1U);
}

TEST_F(SignIn, ASchemeThatCannotBeAnsweredFails)
{
    serve(httpAnswer(401, "", "WWW-Authenticate: Unheard-Of x=y\r\n"));
    EXPECT_EQ(runPropFind(), 401);
    EXPECT_TRUE(last_->error());
    EXPECT_EQ(last_->connection()->error()->code, ASHttpConnection::credentialsNotApplied);
    EXPECT_EQ(info_->authenticationScheme(), Scheme::none);
}

TEST_F(SignIn, AnUploadWithKnownCredentialsSendsItsBodyOnce)
{
    serveDigest();
    runPropFind();
    auto command = make<ASWDCmdPut>();
    command->setRequestBody(std::string(8 << 20, 'b'));
    run(*command);
    EXPECT_EQ(count(), 3U);
    EXPECT_EQ(server_->requests().back().body.size(), std::size_t(8 << 20));
    EXPECT_EQ(command->connection()->processedRequestBodyBytes(), std::size_t(8 << 20));
}

class ThroughProxy : public SignIn
{
protected:
    void useProxy(bool tunnels)
    {
        info_->setIsUseProxy(true);
        info_->setIsUseProxyHTTPS(tunnels);
        info_->setProxyHost("127.0.0.1");
        info_->setProxyPort(server_->port());
        info_->setIsUseProxyAuthorization(true);
        info_->setProxyUsername("user");
        info_->setProxyPassword("pass");
    }

    std::shared_ptr<ASWDCmdPropFind> runThrough(const std::string& text)
    {
        auto command = std::make_shared<ASWDCmdPropFind>(Url::parse(text).value(), info_);
        run(*command);
        EXPECT_EQ(handled_, 1);
        return command;
    }

    static RawServer::Answer askProxy()
    {
        return {httpAnswer(407, "who?", "Proxy-Authenticate: Basic realm=\"p\"\r\n")};
    }
};

TEST_F(ThroughProxy, HttpIsAskedForInAbsoluteFormWithBothSignIns)
{
    serve([](const RawServer::Request& request) -> RawServer::Answer {
        if (request.field("Proxy-Authorization") != basicHeader) return askProxy();
        if (request.field("Authorization") != basicHeader)
            return {httpAnswer(401, "", "WWW-Authenticate: Basic realm=\"r\"\r\n")};
        return {httpAnswer(207, "ok")};
    });
    useProxy(false);
    const auto command = runThrough("http://dav.example/f");
    EXPECT_EQ(command->responseBody(), "ok");
    EXPECT_EQ(count(), 3U);
    EXPECT_EQ(server_->requests().at(0).requestLine(), "PROPFIND http://dav.example/f HTTP/1.1");
    EXPECT_EQ(info_->proxyAuthenticationScheme(), Scheme::basic);
    runThrough("http://dav.example/g");
    EXPECT_EQ(count(), 4U);
}

TEST_F(ThroughProxy, HttpsAndTheHttpsFormTunnel)
{
    serve([](const RawServer::Request& request) -> RawServer::Answer {
        if (!request.head.starts_with("CONNECT ")) return {httpAnswer(207, "inside")};
        if (request.field("Proxy-Authorization") != basicHeader) return askProxy();
        return {"HTTP/1.1 200 Tunnel\r\nX-From: proxy\r\n\r\n"};
    });
    useProxy(true);
    const auto inside = runThrough("http://dav.example/f");
    EXPECT_EQ(inside->responseBody(), "inside");
    EXPECT_FALSE(inside->responseHeader()->header.contains("X-From"));
    ASSERT_GE(count(), 3U);
    EXPECT_EQ(server_->requests().at(0).requestLine(), "CONNECT dav.example:80 HTTP/1.1");
    EXPECT_EQ(server_->requests().at(0).field("Cookie"), "");
    EXPECT_EQ(server_->requests().back().requestLine(), "PROPFIND /f HTTP/1.1");
    EXPECT_EQ(server_->requests().back().field("Proxy-Authorization"), "");
    const auto before = count();
    runThrough("http://dav.example/g");
    EXPECT_EQ(count(), before + 1);
}

TEST_F(ThroughProxy, AProxyThatRefusesTheTunnelsSignInIsSeenAs407)
{
    serve([](const RawServer::Request&) { return askProxy(); });
    useProxy(false);
    const auto refused = runThrough("https://dav.example/f");
    EXPECT_EQ(refused->statusCode(), 407);
    EXPECT_TRUE(refused->error());
    EXPECT_FALSE(refused->connection()->error());
    EXPECT_EQ(count(), 2U);
}

TEST_F(ThroughProxy, AServerHasNoSayInTheProxysSignIn)
{
    serve([](const RawServer::Request& request) -> RawServer::Answer {
        if (request.head.starts_with("CONNECT ")) return {"HTTP/1.1 200 Tunnel\r\n\r\n"};
        return askProxy();
    });
    for (const bool throughTunnel : {true, false}) {
        useProxy(true);
        info_->setIsUseProxy(throughTunnel);
        const auto before = count();
        const auto refused = runThrough(throughTunnel ? "http://dav.example/f" : server_->url("/f"));
        EXPECT_TRUE(refused->error());
        EXPECT_EQ(refused->statusCode(), 407);
        EXPECT_EQ(count(), before + (throughTunnel ? 2 : 1));
        EXPECT_EQ(info_->proxyAuthenticationScheme(), Scheme::none);
    }
}

TEST_F(ThroughProxy, ProxiesOfTheEnvironmentAreNotUsed)
{
    serve([](const RawServer::Request& request) -> RawServer::Answer {
        return {httpAnswer(207, request.requestLine())};
    });
    const std::string nowhere = "http://127.0.0.1:1";
    for (const char* name : {"http_proxy", "all_proxy", "ALL_PROXY"})
        ::setenv(name, nowhere.c_str(), 1);
    EXPECT_EQ(runThrough(server_->url("/f"))->responseBody(), "PROPFIND /f HTTP/1.1");
    for (const char* name : {"http_proxy", "all_proxy", "ALL_PROXY"})
        ::unsetenv(name);
    ::setenv("no_proxy", "*", 1);
    useProxy(false);
    EXPECT_EQ(runThrough("http://dav.example/f")->responseBody(), "PROPFIND http://dav.example/f HTTP/1.1");
    ::unsetenv("no_proxy");
}

TEST_F(ThroughProxy, AProxyThatRefusesTheTunnelIsAnErrorOfTheConnection)
{
    serve(httpAnswer(403, "an untrusted page"));
    useProxy(false);
    const auto refused = runThrough("https://dav.example/f");
    EXPECT_EQ(refused->statusCode(), 0);
    EXPECT_EQ(refused->connection()->error()->code, ASHttpConnection::streamFailed);
    EXPECT_EQ(refused->responseBody(), "");
}

} // namespace
} // namespace tidemark
