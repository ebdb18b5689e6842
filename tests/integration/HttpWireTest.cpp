// Sign-in, framing and redirects against Apache.

#include <algorithm>
#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Wire.h"
#include "davclient/ASWDCmdGet.h"
#include "davclient/ASWDCmdPropBase.h"
#include "davclient/ASWDCmdSimple.h"
#include "davclient/ASWDCmdUpload.h"

namespace tidemark::testing {

namespace {

constexpr std::uint64_t mebibyte = 1024 * 1024;

class HttpWire : public ::testing::TestWithParam<SignIn>
{
};

std::shared_ptr<ASWDCmdPut> upload(const std::string& url, const std::shared_ptr<ASHttpConnectInfo>& info,
                                   std::string content)
{
    auto put = std::make_shared<ASWDCmdPut>(urlOf(url), info);
    put->setSendsContentRange(false);
    put->setRequestBody(std::move(content));
    return carryOut(put);
}

std::uint64_t receivedBytes(const std::vector<ApacheRequest>& requests)
{
    std::uint64_t sum = 0;
    for (const ApacheRequest& request : requests)
        sum += request.receivedBytes;
    return sum;
}

} // namespace

TEST_P(HttpWire, AConfigurationIsAskedForItsSignInOnce)
{
    const ApacheServer server({.signIn = GetParam()});
    const auto info = connectInfoFor(server);
    EXPECT_EQ(outcomeOf(*send<ASWDCmdOptions>(server.url(), info)), "200");
    for (int number = 0; number < 30; ++number) {
        EXPECT_EQ(outcomeOf(*send<ASWDCmdPropFind>(server.url(), info)), "207");
        EXPECT_EQ(outcomeOf(*upload(server.url("/file"), info, "text")), number == 0 ? "201" : "204");
        EXPECT_EQ(outcomeOf(*send<ASWDCmdHead>(server.url("/none"), info)), "404");
    }
    const std::vector<ApacheRequest> requests = server.requests();
    EXPECT_EQ(requests.size(), 92U);
    EXPECT_EQ(countStatus(requests, 401), 1U) << ::testing::PrintToString(requests);
    EXPECT_EQ(requests.front().authorization, "");
    EXPECT_EQ(countConnections(requests), 1U);
}

TEST_P(HttpWire, AWrongPasswordIsSentOnce)
{
    const ApacheServer server({.signIn = GetParam()});
    const auto info = connectInfoFor(server);
    info->setPassword("wrong");
    const auto command = send<ASWDCmdOptions>(server.url(), info);
    ASSERT_TRUE(command->error());
    EXPECT_EQ(command->error()->domain, ASWDCmd::errorDomain);
    EXPECT_EQ(command->error()->code, ASWDCmd::requestFailed);

    const std::vector<ApacheRequest> requests = server.requests();
    ASSERT_EQ(requests.size(), 2U) << ::testing::PrintToString(requests);
    EXPECT_EQ(countStatus(requests, 401), 2U);
    EXPECT_EQ(requests.front().authorization, "");
    EXPECT_NE(requests.back().authorization, "");
}

TEST_P(HttpWire, WithoutCredentialsAChallengeIsTheEnd)
{
    const ApacheServer server({.signIn = GetParam()});
    const auto info = std::make_shared<ASHttpConnectInfo>();
    EXPECT_EQ(outcomeOf(*send<ASWDCmdPropFind>(server.url(), info)), "failed");
    EXPECT_EQ(server.requests().size(), 1U);
}

TEST_P(HttpWire, AnUploadWithKnownCredentialsSendsItsBodyOnce)
{
    ApacheServer server({.signIn = GetParam()});
    const auto info = connectInfoFor(server);
    send<ASWDCmdOptions>(server.url(), info);
    server.clearRequests();

    constexpr auto size = 1024 * mebibyte;
    const auto source = server.root().parent_path() / "source";
    std::ofstream(source).close();
    std::filesystem::resize_file(source, size);
    auto put = std::make_shared<ASWDCmdPut>(urlOf(server.url("/big")), info);
    put->setFilePath(source);
    put->setFileLength(size);
    EXPECT_EQ(outcomeOf(*carryOut(put)), "201");
    EXPECT_EQ(std::filesystem::file_size(server.root() / "big"), size);
    const std::vector<ApacheRequest> requests = server.requests();
    EXPECT_EQ(requests.size(), 1U);
    EXPECT_LT(receivedBytes(requests), size + 4096);
}

TEST_P(HttpWire, AnUploadThatIsChallengedArrivesWhole)
{
    const ApacheServer server({.signIn = GetParam()});
    const std::string content(3 * mebibyte, 'y');
    EXPECT_EQ(outcomeOf(*upload(server.url("/file"), connectInfoFor(server), content)), "201");
    EXPECT_EQ(readFile(server.root() / "file"), content);
}

TEST_P(HttpWire, ARestartedServerIsNoObstacle)
{
    ApacheServer server({.signIn = GetParam()});
    const auto info = connectInfoFor(server);
    send<ASWDCmdOptions>(server.url(), info);
    // Its connections are gone, and so are its nonces.
    server.restart();
    server.clearRequests();
    const std::string content(mebibyte, 'z');
    EXPECT_EQ(outcomeOf(*upload(server.url("/file"), info, content)), "201");
    EXPECT_EQ(readFile(server.root() / "file"), content);
    EXPECT_EQ(outcomeOf(*send<ASWDCmdOptions>(server.url(), info)), "200");
    const std::vector<ApacheRequest> requests = server.requests();
    EXPECT_LE(countStatus(requests, 401), 1U) << ::testing::PrintToString(requests);
}

INSTANTIATE_TEST_SUITE_P(SignIn, HttpWire, ::testing::Values(SignIn::basic, SignIn::digest),
                         [](const auto& value) { return nameOf(value.param); });

TEST(HttpWire, EveryCommandDoesItsWorkOnModDav)
{
    const ApacheServer server;
    const auto info = connectInfoFor(server);
    EXPECT_EQ(outcomeOf(*send<ASWDCmdMkCol>(server.url("/folder/"), info)), "201");
    EXPECT_EQ(outcomeOf(*upload(server.url("/folder/a%3Ab%20%2B%25"), info, "0123456789")), "201");
    EXPECT_EQ(readFile(server.root() / "folder/a:b +%"), "0123456789");
    EXPECT_EQ(outcomeOf(*upload(server.url("/folder/a%3Ab%20%2B%25"), info, "new")), "204");
    EXPECT_EQ(readFile(server.root() / "folder/a:b +%"), "new");
    EXPECT_EQ(outcomeOf(*upload(server.url("/empty"), info, "")), "201");

    EXPECT_EQ(send<ASWDCmdGetStream>(server.url("/folder/a%3Ab%20%2B%25"), info)->responseBody(), "new");

    auto patch = std::make_shared<ASWDCmdPropPatch>(urlOf(server.url("/folder/a%3Ab%20%2B%25")), info);
    patch->setRequestBody(
        "<?xml version=\"1.0\"?><D:propertyupdate xmlns:D=\"DAV:\" xmlns:Z=\"urn:test\"><D:set><D:prop>"
        "<Z:colour>blue</Z:colour></D:prop></D:set></D:propertyupdate>");
    EXPECT_EQ(outcomeOf(*carryOut(patch)), "207");
    EXPECT_THAT(send<ASWDCmdPropFind>(server.url("/folder/"), info)->responseBody(), ::testing::HasSubstr(">blue<"));

    EXPECT_EQ(outcomeOf(*send<ASWDCmdDelete>(server.url("/folder/"), info)), "204");
    EXPECT_FALSE(exists(server.root() / "folder"));
    EXPECT_EQ(countConnections(server.requests()), 1U);
}

TEST(HttpWire, AResumedDownloadEndsWhole)
{
    const ApacheServer server;
    const ServerDirectory local;
    const std::filesystem::path file = local.path() / "file";
    writeFile(server.root() / "file", "0123456789");
    for (const std::string present : {"0123", "0123456789", "a longer file than that"}) {
        writeFile(file, present);
        auto get = std::make_shared<ASWDCmdGet>(urlOf(server.url("/file")), connectInfoFor(server));
        get->setLocalFile(file);
        get->setSentBytes(static_cast<std::int64_t>(present.size()));
        carryOut(get);
        EXPECT_FALSE(get->error());
        EXPECT_EQ(readFile(file), "0123456789");
    }
}

TEST(HttpWire, RedirectsInsideTheOriginAreFollowed)
{
    const ApacheServer server(
        {.signIn = SignIn::basic, .directives = "Redirect 302 /old /new\nRedirect 307 /ring /ring"});
    const auto info = connectInfoFor(server);
    writeFile(server.root() / "new", "content");
    const auto get = send<ASWDCmdGetStream>(server.url("/old"), info);
    EXPECT_EQ(outcomeOf(*get), "200");
    EXPECT_EQ(get->responseBody(), "content");

    // A ring ends after ten.
    const auto ring = send<ASWDCmdGetStream>(server.url("/ring"), info);
    EXPECT_TRUE(ring->error() || ring->statusCode() == 307);
    EXPECT_LE(countStatus(server.requests(), 307), 11U);
}

TEST(HttpWire, RedirectsElsewhereReachNobody)
{
    Certificates certificates;
    const ApacheServer elsewhere, secureElsewhere({.tls = ApacheTls{.certificate = certificates.valid()}});
    const ApacheServer server({.signIn = SignIn::basic,
                               .directives = "Header always set Set-Cookie \"ticket=secret\"\n"
                                             "Redirect 302 /port " +
                                             elsewhere.url("/x") + "\n" + "Redirect 307 /scheme " +
                                             secureElsewhere.url("/x")});
    const auto info = connectInfoFor(server);
    info->setExtraTrustFile(certificates.authority());
    send<ASWDCmdOptions>(server.url(), info);
    ASSERT_TRUE(info->cookieValue());

    EXPECT_EQ(outcomeOf(*send<ASWDCmdGetStream>(server.url("/port"), info)), "302");
    EXPECT_EQ(outcomeOf(*send<ASWDCmdPropFind>(server.url("/port"), info)), "302");
    EXPECT_EQ(outcomeOf(*upload(server.url("/scheme"), info, "content")), "307");
    EXPECT_TRUE(elsewhere.requests().empty());
    EXPECT_TRUE(secureElsewhere.requests().empty());
}

} // namespace tidemark::testing
