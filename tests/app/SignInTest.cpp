// What a person sees of a sign-in that does not succeed, on a terminal and elsewhere, and the settings behind it.

#include <atomic>

#include <gmock/gmock.h>

#include "devserver/Server.h"
#include "tests/app/ProgramWorld.h"
#include "tests/support/Process.h"
#include "tests/support/RawServer.h"

namespace tidemark::cli {
namespace {

using ::testing::AllOf;
using testing::contentOf;
using ::testing::HasSubstr;
using ::testing::Not;
using testing::ProgramRun;
using tidemark::testing::httpAnswer;
using tidemark::testing::RawServer;

constexpr const char* folderListing =
    "<D:multistatus xmlns:D=\"DAV:\"><D:response><D:propstat><D:prop><D:resourcetype><D:collection/>"
    "</D:resourcetype></D:prop></D:propstat></D:response></D:multistatus>";

struct SignInTest : testing::ProgramWorld
{
    void create(const std::string& url)
    {
        ASSERT_EQ(tidemark({"config", "create", "work", "--url", url, "--local", folder.makeFolder("work")}), 0)
            << messages;
    }
    int set(std::vector<std::string> options, const std::string& input = {})
    {
        options.insert(options.begin(), {"config", "set", "work"});
        return tidemark(options, input);
    }
    std::string stored() const { return contentOf(folder.path("config/work.xml")); }

    static std::string addressOf(const RawServer& server) { return "127.0.0.1:" + std::to_string(server.port()); }
};

/// A proxy that is its own server and lets anna in with "right".
RawServer::Answer guarded(const RawServer::Request& request)
{
    if (request.field("Proxy-Authorization") != "Basic YW5uYTpyaWdodA==")
        return {httpAnswer(407, "", "Proxy-Authenticate: Basic realm=\"p\"\r\n")};
    if (request.head.starts_with("OPTIONS ")) return {httpAnswer(200, "", "DAV: 1\r\n")};
    return {httpAnswer(207, folderListing)};
}

TEST_F(SignInTest, WithoutATerminalTheReasonIsSaidAndNothingAsked)
{
    const std::pair<std::string, const char*> answers[] = {
        {httpAnswer(401, "", "WWW-Authenticate: Basic realm=\"r\"\r\n"), "does not accept the user or the password"},
        {httpAnswer(407, "", "Proxy-Authenticate: Basic realm=\"r\"\r\n"), "the proxy does not accept"},
        {httpAnswer(503), "answered with status 503"},
        {httpAnswer(302, "", "Location: http://elsewhere.example/\r\n"), "answered with status 302"},
        {"HTTP/1.1 200 OK\r\nContent-Length: none\r\n\r\n", "no connection"},
        {httpAnswer(200), "is not a WebDAV server"},
    };
    std::atomic<std::size_t> turn = 0;
    RawServer server([&](const RawServer::Request&) { return RawServer::Answer{answers[turn].first}; });
    create(server.url("/dav/"));
    for (; turn < std::size(answers); ++turn) {
        EXPECT_EQ(tidemark({"config", "check", "work"}), 4);
        EXPECT_THAT(messages, HasSubstr(answers[turn].second));
    }

    devserver::Options options;
    options.root = folder.makeFolder("root");
    options.tls.enabled = true;
    const devserver::Server untrusted(options);
    ASSERT_EQ(set({"--url", untrusted.url()}), 0);
    EXPECT_EQ(tidemark({"config", "check", "work"}), 4);
    EXPECT_THAT(messages, AllOf(HasSubstr("is not trusted"), Not(HasSubstr("[y/N]"))));
    ASSERT_EQ(set({"--ignore-server-cert", "yes"}), 0);
    EXPECT_EQ(tidemark({"config", "check", "work"}), 0) << messages;
    ASSERT_EQ(set({"--ignore-server-cert", "no"}), 0);
    EXPECT_EQ(tidemark({"config", "check", "work"}), 4);
}

TEST_F(SignInTest, OnATerminalTheProxysUserAndPasswordAreAskedForUntilTheyAreRight)
{
    RawServer proxy(guarded);
    create("http://dav.example/dav/");
    ASSERT_EQ(set({"--proxy", addressOf(proxy), "--proxy-user", "anna", "--proxy-password-stdin"}, "wrong\n"), 0);
    const auto before = stored();
    ProgramRun program(withConfig({"config", "check", "work"}), folder.path(), {}, ProgramRun::Connection::terminal);
    ASSERT_TRUE(program.waitFor("User of the proxy 127.0.0.1 [anna]:")) << program.output();
    program.type("paul\n");
    ASSERT_TRUE(program.waitFor("Password of paul:")) << program.output();
    program.type("right\n");
    ASSERT_TRUE(program.waitFor("[paul]:")) << program.output();
    program.type("anna\n");
    ASSERT_TRUE(program.waitFor("Password of anna:")) << program.output();
    program.type("right\n");
    EXPECT_EQ(program.finish(), 0) << program.output();
    EXPECT_THAT(program.output(), AllOf(HasSubstr("the proxy does not accept"), Not(HasSubstr("right"))));
    EXPECT_EQ(stored(), before) << "what was typed counts for that run";
}

TEST_F(SignInTest, OnATerminalAPersonMayGiveUpAndAFailedConnectionIsOnlyReported)
{
    RawServer proxy(guarded);
    create("http://dav.example/dav/");
    ASSERT_EQ(set({"--proxy", addressOf(proxy)}), 0);
    ProgramRun asked(withConfig({"config", "check", "work"}), folder.path(), {}, ProgramRun::Connection::terminal);
    ASSERT_TRUE(asked.waitFor("User of the proxy 127.0.0.1:")) << asked.output();
    asked.type("\x04");
    EXPECT_EQ(asked.finish(), 4) << asked.output();
    EXPECT_EQ(proxy.requests().size(), 1U);

    ASSERT_EQ(set({"--proxy", "127.0.0.1:" + std::to_string(tidemark::testing::freePort())}), 0);
    ProgramRun reported(withConfig({"config", "check", "work"}), folder.path(), {}, ProgramRun::Connection::terminal);
    EXPECT_EQ(reported.finish(), 4);
    EXPECT_THAT(reported.output(), AllOf(HasSubstr("there is no connection"), Not(HasSubstr("User of"))));
}

TEST_F(SignInTest, AProxyIsSetChangedAndTakenAway)
{
    RawServer proxy(guarded);
    create("http://dav.example/dav/");
    ASSERT_EQ(set({"--proxy", addressOf(proxy), "--proxy-user", "anna", "--proxy-password-stdin"}, "right\n"), 0);
    EXPECT_EQ(tidemark({"config", "check", "work"}), 0) << messages;
    EXPECT_EQ(proxy.requests().back().requestLine(), "PROPFIND http://dav.example/dav/ HTTP/1.1");

    EXPECT_EQ(set({"--proxy-user", "paul"}), 0);
    EXPECT_EQ(tidemark({"config", "check", "work"}), 4) << "another user does not have the password";
    EXPECT_EQ(set({"--proxy-user", ""}), 0);
    EXPECT_EQ(tidemark({"config", "check", "work"}), 4);
    EXPECT_EQ(proxy.requests().back().field("Proxy-Authorization"), "");
    EXPECT_EQ(set({"--proxy", "none"}), 0);
    const auto before = proxy.requests().size();
    ASSERT_EQ(set({"--url", proxy.url("/")}), 0);
    EXPECT_EQ(tidemark({"config", "check", "work"}), 4);
    EXPECT_EQ(proxy.requests().size(), before + 1);
    EXPECT_EQ(proxy.requests().back().requestLine(), "OPTIONS / HTTP/1.1") << "asked as the server itself";
}

TEST_F(SignInTest, WrongConnectionOptionsLeaveTheConfigurationAsItWas)
{
    create("http://dav.example/dav/");
    const auto before = stored();
    const std::pair<std::vector<std::string>, const char*> cases[] = {
        {{"--identity", "unknown"}, "there is no identity 'unknown'"},
        {{"--identity", std::string(64, 'a')}, "there is no identity"},
        {{"--ignore-server-cert", "maybe"}, "--ignore-server-cert"},
        {{"--proxy", "proxy.example"}, "HOST:PORT"},
        {{"--proxy", "proxy.example:99999"}, "HOST:PORT"},
        {{"--proxy-user", "anna"}, "needs --proxy"},
        {{"--proxy", "none", "--proxy-user", "anna"}, "needs --proxy"},
        {{"--proxy", "h:1", "--proxy-password-stdin"}, "needs --proxy-user"},
        {{"--proxy", "h:1", "--proxy-user", "anna", "--proxy-password-stdin"}, "no line with the proxy's password"},
    };
    for (const auto& [options, complaint] : cases) {
        EXPECT_EQ(set(options), 2) << complaint;
        EXPECT_THAT(messages, HasSubstr(complaint));
        EXPECT_EQ(stored(), before);
    }
}

} // namespace
} // namespace tidemark::cli
