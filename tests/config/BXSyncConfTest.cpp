#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "config/BXSyncConf.h"
#include "config/FolderCheck.h"
#include "config/LoginAttempt.h"
#include "davclient/ASPropertyNamespace.h"
#include "platform/RunLoop.h"
#include "security/BXSyncPasswordManager.h"
#include "support/RawServer.h"

namespace tidemark {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Dictionary = PropertyList::Dictionary;

struct ConfTest : ::testing::Test
{
    BXSyncPasswordManager passwords;

    void SetUp() override { BXSyncConf::setPasswordDelegate(&passwords); }
    void TearDown() override { BXSyncConf::setPasswordDelegate(nullptr); }

    static void fill(BXSyncConf& conf)
    {
        conf.setName("Work");
        conf.setEnable(false);
        conf.setServerURL("https://Host.example/a b/c+d");
        conf.setLocalPath("/home/me/Work");
        conf.setMode(SyncMode::downloadOnly);
        conf.setAutosync(true);
        conf.setServerDelete("delete");
        conf.setLocalDelete("download");
        conf.setConflict("none");
        conf.setSyncLogPath("/logs");
        conf.setLogKeepDays(12);
        conf.setEncryptKey("schlüssel");
        conf.setSyncSchedules({{2, 9, 0}, {-1, -1, 15}});
        conf.setIgnoreServerCert(true);
        conf.setCertificateId("identifier");
        conf.info()->setIsUseAuthorization(true);
        conf.info()->setUsername("me");
        conf.info()->setPassword("secret");
        conf.info()->setIsUseProxy(true);
        conf.info()->setProxyHost("proxy");
        conf.info()->setProxyPort(3128);
        conf.info()->setIsUseProxyAuthorization(true);
        conf.info()->setProxyUsername("p");
        conf.info()->setProxyPassword("proxy secret");
    }

    static Dictionary dictionaryOf(const BXSyncConf& conf, bool all = true)
    {
        Dictionary dictionary;
        conf.updateDictinary(dictionary, all);
        return dictionary;
    }
};

TEST_F(ConfTest, TheDictionaryHoldsEverythingInItsForm)
{
    BXSyncConf conf;
    fill(conf);
    const Dictionary expected{
        {"identity", conf.identity()},
        {"enable", false},
        {"serverURL", "https://host.example/a%20b/c%2Bd"},
        {"localPath", "/home/me/Work"},
        {"syncmode", 2},
        {"autosync", true},
        {"serverDelete", "delete"},
        {"localDelete", "download"},
        {"conflict", "none"},
        {"syncLogPath", "/logs"},
        {"logKeepDays", 12},
        {"syncSchedule", PropertyList::Array{"-1:-1:15", "2:9:0"}},
        {"encryptKey", passwords.encrypt("schlüssel")},
        {"ignoreServerCert", true},
        {"certificateId", "identifier"},
        {"includeall", true},
        {"name", "Work"},
        {"isUseAuthorization", "YES"},
        {"username", "me"},
        {"password", passwords.encrypt("secret")},
        {"isUseProxy", "YES"},
        {"proxyHost", "proxy"},
        {"proxyPort", 3128},
        {"isUseProxyAuthorization", "YES"},
        {"proxyUsername", "p"},
        {"proxyPassword", passwords.encrypt("proxy secret")},
    };
    const auto dictionary = dictionaryOf(conf);
    for (const auto& [key, value] : expected) {
        ASSERT_TRUE(dictionary.contains(key)) << key;
        EXPECT_TRUE(dictionary.at(key) == value) << key;
    }
    EXPECT_EQ(dictionary.size(), expected.size());

    const BXSyncConf again(dictionary);
    EXPECT_TRUE(dictionaryOf(again) == dictionary);
    EXPECT_EQ(again.encryptKey(), "schlüssel");
    EXPECT_EQ(again.info()->password(), "secret");
    EXPECT_EQ(again.info()->proxyPassword(), "proxy secret");
}

TEST_F(ConfTest, WithoutAllNeitherNameNorConnectionAreTouched)
{
    BXSyncConf conf;
    fill(conf);
    Dictionary dictionary{{"name", "kept"}, {"username", "kept"}, {"other", 1}};
    conf.updateDictinary(dictionary, false);
    EXPECT_EQ(dictionary.at("name").stringValue(), "kept");
    EXPECT_EQ(dictionary.at("username").stringValue(), "kept");
    EXPECT_TRUE(dictionary.contains("other"));
    EXPECT_FALSE(dictionary.contains("includeall"));
    dictionary["password"] = passwords.encrypt("unread");
    const BXSyncConf again(dictionary);
    EXPECT_EQ(again.name(), "");
    EXPECT_EQ(again.info()->username(), "");
    EXPECT_EQ(again.info()->password(), "");
    EXPECT_EQ(again.localPath(), "/home/me/Work");
}

TEST_F(ConfTest, StaleKeysGoOrStay)
{
    Dictionary dictionary{{"syncLogPath", "/old"}, {"syncSchedule", PropertyList::Array{"1:1:1"}}};
    BXSyncConf().updateDictinary(dictionary, true);
    EXPECT_FALSE(dictionary.contains("syncLogPath"));
    EXPECT_TRUE(dictionary.contains("syncSchedule"));
    EXPECT_FALSE(dictionaryOf(BXSyncConf()).contains("syncSchedule"));
}

TEST_F(ConfTest, WithoutADelegateSecretsAreSkippedBothWays)
{
    BXSyncConf conf;
    fill(conf);
    const auto stored = dictionaryOf(conf);
    BXSyncConf::setPasswordDelegate(nullptr);
    const auto without = dictionaryOf(conf);
    for (const char* key : {"encryptKey", "password", "proxyPassword"})
        EXPECT_FALSE(without.contains(key)) << key;
    const BXSyncConf again(stored);
    EXPECT_EQ(again.encryptKey() + again.info()->password() + again.info()->proxyPassword(), "");
    EXPECT_EQ(again.info()->username(), "me");
}

TEST_F(ConfTest, NewValuesAndPolicies)
{
    const BXSyncConf conf(Dictionary{});
    EXPECT_TRUE(conf.enable());
    EXPECT_EQ(conf.mode(), SyncMode::twoWay);
    EXPECT_EQ(conf.logKeepDays(), 1);
    EXPECT_EQ(conf.identity().size(), 36U);
    EXPECT_NE(conf.identity(), BXSyncConf().identity());
    EXPECT_EQ(conf.conflictOperate() + conf.serverDeleteOperate() + conf.localDeleteOperate(), 0);
    EXPECT_EQ(BXSyncConf::getOprate("delete"), 2);
    EXPECT_EQ(BXSyncConf::getOprate("upload"), 3);
    EXPECT_EQ(BXSyncConf::getOprate("download"), 4);
    EXPECT_EQ(BXSyncConf::getOprate("none"), 6);
    EXPECT_EQ(BXSyncConf::getOprate("Delete"), 0);
}

TEST(FolderCheckTest, ACookiesPathIsTheRoot)
{
    const std::map<std::string, ASHttpCookie> cookies{{"a", {"a", "1", "/dav/root"}}, {"b", {"b", "2", "/"}}};
    for (const char* path : {"/dav/root", "/dav//root/", "//", "/", ""})
        EXPECT_TRUE(FolderCheck::isRootFolder(path, cookies)) << path;
    for (const char* path : {"/dav", "/dav/root/sub", "/dav/rootless"})
        EXPECT_FALSE(FolderCheck::isRootFolder(path, cookies)) << path;
    EXPECT_FALSE(FolderCheck::isRootFolder("/", {}));
}

TEST(FolderCheckTest, AnswersAreJudged)
{
    const auto body = [](const std::string& type) {
        return "<D:multistatus xmlns:D='DAV:'><D:response><D:href>/f/</D:href><D:propstat><D:prop><D:resourcetype>" +
               type + "</D:resourcetype></D:prop></D:propstat></D:response></D:multistatus>";
    };
    EXPECT_EQ(FolderCheck::judge(207, body("<D:collection/>")), std::nullopt);
    EXPECT_EQ(FolderCheck::judge(207, body("")), "SERVER_NOT_FOLDER");
    EXPECT_EQ(FolderCheck::judge(207, "<a/>"), "SERVER_NOT_FOLDER");
    EXPECT_EQ(FolderCheck::judge(207, "<a>"), "CONNECTION_ERROR");
    EXPECT_EQ(FolderCheck::judge(207, ""), "CONNECTION_ERROR");
    EXPECT_EQ(FolderCheck::judge(200, body("<D:collection/>")), "CONNECTION_ERROR");
    EXPECT_EQ(FolderCheck::judge(403, ""), "DENIED_ACCESS_FOLDER");
    EXPECT_EQ(FolderCheck::judge(404, ""), "SERVER_NOT_FOLDER");
    EXPECT_EQ(FolderCheck::judge(401, ""), "CONNECTION_ERROR");
}

TEST(FolderCheckTest, TheRequestIsAPropfindOfTheFolderAlone)
{
    testing::RawServer server([](const auto&) { return testing::RawServer::Answer{testing::httpAnswer(403)}; });
    const auto conf = std::make_shared<BXSyncConf>();
    conf->setServerURL(server.url("/dav/folder"));
    EXPECT_EQ(conf->checkFolderURL(), "DENIED_ACCESS_FOLDER");
    const auto requests = server.requests();
    ASSERT_EQ(requests.size(), 1U);
    EXPECT_EQ(requests[0].requestLine(), "PROPFIND /dav/folder/ HTTP/1.1");
    EXPECT_EQ(requests[0].field("Depth"), "0");
    EXPECT_EQ(requests[0].body,
              std::string(R"(<?xml version="1.0" encoding="utf-8" ?><D:propfind xmlns:D="DAV:" xmlns:E=")") +
                  propertyNamespaceURI +
                  R"("><D:prop><D:resourcetype/></D:prop><D:include><D:supported-live-property-set/>)"
                  "<D:supported-report-set/></D:include></D:propfind>");
}

TEST(FolderCheckTest, TheRootIsRefusedWithoutARequest)
{
    testing::RawServer server([](const auto&) { return testing::RawServer::Answer{testing::httpAnswer(207)}; });
    const auto conf = std::make_shared<BXSyncConf>();
    conf->setServerURL(server.url("/dav/"));
    HttpHeader header;
    header.add("Set-Cookie", "session=1; path=/dav");
    conf->info()->setCookie(header, conf->url());
    EXPECT_EQ(conf->checkFolderURL(), "CANNOT_USE_ROOT_FOLDER");
    EXPECT_THAT(server.requests(), IsEmpty());
    conf->setServerURL("no URL");
    EXPECT_EQ(conf->checkFolderURL(), "CONNECTION_ERROR");
}

/// Logs in against canned answers and notes what is called.
struct LoginTest : ::testing::Test
{
    std::vector<std::string> answers;
    testing::RawServer server{[this](const testing::RawServer::Request&) {
        const auto answer = answers.size() > 1 ? answers.front() : answers.back();
        if (answers.size() > 1) answers.erase(answers.begin());
        return testing::RawServer::Answer{answer};
    }};
    std::shared_ptr<BXSyncConf> conf = std::make_shared<BXSyncConf>();
    std::vector<std::string> events;
    std::vector<LoginReason> reasons;
    int tries = 0;

    void SetUp() override { conf->setServerURL(server.url("/dav")); }

    BXSyncConf::LoginHandler askingHandler()
    {
        return [this](BXSyncConf&, LoginReason reason) {
            reasons.push_back(reason);
            return tries-- > 0;
        };
    }

    void login(BXSyncConf::LoginHandler handler)
    {
        conf->login(
            std::move(handler), [this] { events.emplace_back("success"); },
            [this](bool nobody) { events.emplace_back(nobody ? "failure(true)" : "failure(false)"); });
        RunLoop::current()->runUntil([this] { return !events.empty(); });
    }
};

TEST_F(LoginTest, TheServersHeadersAreLearnt)
{
    answers = {testing::httpAnswer(200, "",
                                   "dav: 2, 1\r\nX-BX-Marlock-Version: 3.1\r\nX-bx-readonly-enable: 0\r\n"
                                   "X-BX-Primary: p+q%2Br\r\nX-BX-User: %E9%8D%B5\r\nX-BX-Platform: w\r\n"
                                   "X-BX-CryptoFile-Enable: 2\r\n"),
               testing::httpAnswer(200, "",
                                   "DAV: 1\r\nX-BX-Platform: l\r\nX-BX-CryptoFile-Enable: 1\r\n"
                                   "X-BX-User: %zz\r\n")};
    login(nullptr);
    EXPECT_THAT(events, ElementsAre("success"));
    EXPECT_EQ(conf->marlockVersion(), "3.1");
    EXPECT_TRUE(conf->readonly());
    EXPECT_EQ(conf->primary(), "p q+r");
    EXPECT_EQ(conf->serverUser(), "鍵");
    EXPECT_EQ(conf->serverOS(), ServerOS::windows);
    EXPECT_EQ(conf->servercryptofile(), ServerCryptoFile::version2);
    EXPECT_EQ(server.requests().at(0).requestLine(), "OPTIONS /dav/ HTTP/1.1");

    events.clear();
    login(nullptr);
    EXPECT_EQ(conf->marlockVersion(), "") << "another server answers now";
    EXPECT_FALSE(conf->readonly());
    EXPECT_EQ(conf->serverUser(), "");
    EXPECT_EQ(conf->serverOS(), ServerOS::other);
    EXPECT_EQ(conf->servercryptofile(), ServerCryptoFile::other);
}

TEST_F(LoginTest, AServerWithoutWebDAVIsAFailureThatAsksNobody)
{
    for (const char* field : {"", "DAV: 2\r\n"}) {
        answers = {testing::httpAnswer(200, "", field)};
        events.clear();
        login(askingHandler());
        EXPECT_THAT(events, ElementsAre("failure(false)"));
        EXPECT_THAT(reasons, IsEmpty());
    }
}

TEST_F(LoginTest, TheHandlerDecidesWhetherToTryAgain)
{
    answers = {testing::httpAnswer(401, "", "WWW-Authenticate: Basic realm=\"r\"\r\n"), testing::httpAnswer(503),
               testing::httpAnswer(200, "", "DAV: 1\r\n")};
    tries = 2;
    login(askingHandler());
    EXPECT_THAT(events, ElementsAre("success"));
    EXPECT_THAT(reasons, ElementsAre(LoginReason::serverAuthentication, LoginReason::connectionFailed));
    EXPECT_FALSE(conf->loginError());

    answers = {testing::httpAnswer(503)};
    events.clear();
    tries = 0;
    login(askingHandler());
    EXPECT_THAT(events, ElementsAre("failure(false)"));
    ASSERT_TRUE(conf->loginError());
    EXPECT_EQ(conf->loginError()->domain, BXSyncConf::loginStatusDomain);
    EXPECT_EQ(conf->loginError()->code, 503);
    events.clear();
    login(nullptr);
    EXPECT_THAT(events, ElementsAre("failure(true)"));
}

TEST_F(LoginTest, AWrongPasswordAsksForSignInAgain)
{
    answers = {testing::httpAnswer(401, "", "WWW-Authenticate: Basic realm=\"r\"\r\n")};
    conf->info()->setIsUseAuthorization(true);
    conf->info()->setUsername("me");
    conf->info()->setPassword("wrong");
    login(askingHandler());
    EXPECT_THAT(events, ElementsAre("failure(false)"));
    EXPECT_THAT(reasons, ElementsAre(LoginReason::serverAuthentication));
    EXPECT_EQ(server.requests().size(), 2U) << "one question, one answer";
}

TEST_F(LoginTest, WhatCannotBeStartedFailsAtOnceOnce)
{
    conf->setServerURL("no URL");
    conf->login(
        nullptr, [this] { events.emplace_back("success"); },
        [this](bool nobody) { events.emplace_back(nobody ? "failure(true)" : "failure(false)"); });
    EXPECT_THAT(events, ElementsAre("failure(true)"));
}

TEST_F(LoginTest, CancellingEndsALoginWithoutAsking)
{
    answers = {""};
    RunLoop::current()->post([this] { conf->cancelRequests(); });
    login(askingHandler());
    EXPECT_THAT(events, ElementsAre("failure(false)"));
    EXPECT_THAT(reasons, IsEmpty());
}

TEST(LoginAttemptTest, Reasons)
{
    const Error lost{"ASWDCmd", 32768, {}};
    const Error untrusted{"ASWDCmd", 32768, {{"ServerCertificateError", "ServerSelfCertificate"}}};
    EXPECT_EQ(LoginAttempt::reasonFor(untrusted, 0, true), LoginReason::untrustedServerCertificate);
    EXPECT_EQ(LoginAttempt::reasonFor(untrusted, 0, false), LoginReason::connectionFailed);
    EXPECT_EQ(LoginAttempt::reasonFor(lost, 0, true), LoginReason::connectionFailed);
    EXPECT_EQ(LoginAttempt::reasonFor({}, 401, true), LoginReason::serverAuthentication);
    EXPECT_EQ(LoginAttempt::reasonFor({}, 407, true), LoginReason::proxyAuthentication);
    EXPECT_EQ(LoginAttempt::reasonFor({}, 500, true), LoginReason::connectionFailed);
    EXPECT_EQ(LoginAttempt::reasonFor({}, 200, true), std::nullopt);
}

} // namespace
} // namespace tidemark
