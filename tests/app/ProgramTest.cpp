#include <csignal>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "SyncLibrary/BXSyncRunLock.h"
#include "devserver/Server.h"
#include "tests/app/CommandWorld.h"
#include "tests/app/ProgramWorld.h"
#include "tests/support/Certificates.h"
#include "tests/support/RawServer.h"

namespace tidemark::cli {
namespace {

namespace stdfs = std::filesystem;
using Json = nlohmann::json;
using ::testing::AllOf;
using testing::contentOf;
using ::testing::HasSubstr;
using ::testing::Not;
using testing::ProgramRun;

constexpr const char* password = "open-sesame";

/// The program against a server in this process that wants a sign-in.
struct ProgramTest : testing::ProgramWorld
{
    devserver::Options serverOptions() const
    {
        devserver::Options options;
        folder.makeFolder("root/server");
        options.root = folder.path("root");
        options.mode = devserver::Mode::Product;
        options.auth = devserver::AuthScheme::Basic;
        options.user = "kim";
        options.password = password;
        options.refusals = {{.pattern = "locked*", .status = 423}};
        return options;
    }
    void createConfiguration(const std::string& name = "work", std::vector<std::string> more = {})
    {
        std::vector<std::string> arguments{"config",
                                           "create",
                                           name,
                                           "--url",
                                           server.url("server"),
                                           "--local",
                                           folder.makeFolder(name),
                                           "--user",
                                           "kim",
                                           "--password-stdin"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        ASSERT_EQ(tidemark(arguments, std::string(password) + "\n"), 0) << messages;
    }
    Json outcome() const { return Json::parse(output)["configurations"][0]; }
    Json item(const std::string& path) const
    {
        const auto whole = outcome();
        for (const auto& found : whole["items"])
            if (found["path"] == path) return found;
        return nullptr;
    }
    /// Everything in the files below `name`.
    void readAll(const std::string& name)
    {
        for (const auto& entry : stdfs::recursive_directory_iterator(folder.path(name)))
            if (entry.is_regular_file()) everything += contentOf(entry.path());
    }
    /// A file whose time lies far enough from the one before to be a change.
    void change(const std::string& name, const std::string& text, int minutes)
    {
        const auto path = folder.write(name, text);
        stdfs::last_write_time(path, stdfs::file_time_type::clock::now() + std::chrono::minutes(minutes));
    }

    devserver::Server server{serverOptions()};
};

TEST_F(ProgramTest, ListsThenSyncsThenHasNothingToDo)
{
    createConfiguration();
    folder.write("work/notes/a b+%.txt", "hello");
    EXPECT_EQ(tidemark({"config", "check", "work"}), 0);
    EXPECT_THAT(output, HasSubstr("can be used"));

    ASSERT_EQ(tidemark({"list", "--json"}), 0) << messages;
    EXPECT_EQ(outcome()["name"], "work");
    EXPECT_EQ(item("/notes/a b+%.txt")["direction"], "up");
    EXPECT_EQ(item("/notes/a b+%.txt")["kind"], "new");
    EXPECT_EQ(item("/notes/a b+%.txt")["size"], 5);
    EXPECT_EQ(item("/notes/a b+%.txt")["finished"], false);
    EXPECT_EQ(item("/notes")["folder"], true);
    EXPECT_TRUE(stdfs::is_empty(folder.path("root/server"))) << "a list changes nothing";
    EXPECT_FALSE(stdfs::exists(folder.path("config/work.psi")));
    ASSERT_EQ(tidemark({"list"}), 0);
    EXPECT_THAT(output, HasSubstr("/notes/a b+%.txt"));

    ASSERT_EQ(tidemark({"sync", "--json"}), 0) << messages;
    EXPECT_EQ(outcome()["status"], "done");
    EXPECT_EQ(item("/notes/a b+%.txt")["finished"], true);
    EXPECT_EQ(item("/notes/a b+%.txt")["error"], nullptr);
    EXPECT_EQ(contentOf(folder.path("root/server/notes/a b+%.txt")), "hello");

    ASSERT_EQ(tidemark({"sync", "--json", "--quiet"}), 0);
    EXPECT_TRUE(outcome()["items"].empty());
    EXPECT_EQ(messages, "");
}

TEST_F(ProgramTest, AFailedFileIsSkippedReportedAndNamed)
{
    createConfiguration();
    folder.write("work/locked.txt", "no");
    folder.write("work/open.txt", "yes");
    for (const bool skips : {false, true}) {
        std::vector<std::string> arguments{"sync", "--json"};
        if (skips) arguments.push_back("--skip-errors");
        EXPECT_EQ(tidemark(arguments), 1);
        EXPECT_EQ(outcome()["status"], "items-failed");
        EXPECT_EQ(item("/locked.txt")["finished"], false);
        EXPECT_TRUE(item("/locked.txt")["error"].is_string());
        EXPECT_THAT(messages, HasSubstr("locked.txt"));
    }
    EXPECT_EQ(contentOf(folder.path("root/server/open.txt")), "yes");
}

TEST_F(ProgramTest, WrongUsageAndMissingConfigurations)
{
    EXPECT_EQ(tidemark({"sink"}), 2);
    EXPECT_EQ(tidemark({"config", "create", "a", "--url", "nowhere", "--local", "/tmp/a"}), 2);
    EXPECT_EQ(tidemark({"sync", "none"}), 3);
    EXPECT_THAT(messages, HasSubstr("none"));
    createConfiguration();
    EXPECT_EQ(tidemark({"list", "--json", "none", "work"}), 3) << "the others are still listed";
    EXPECT_THAT(output, AllOf(HasSubstr("invalid-configuration"), HasSubstr("\"done\"")));
    stdfs::remove(folder.path("work"));
    EXPECT_EQ(tidemark({"sync", "--json"}), 3) << "a folder that is not there is no empty one";
    EXPECT_EQ(outcome()["status"], "invalid-configuration");
    EXPECT_EQ(tidemark({"--help"}), 0);
    EXPECT_THAT(output, HasSubstr("Exit status"));
}

TEST_F(ProgramTest, RefusedSignInAndAbsentServer)
{
    createConfiguration();
    ASSERT_EQ(tidemark({"config", "set", "work", "--password-stdin"}, "wrong\n"), 0);
    EXPECT_EQ(tidemark({"sync", "--json"}), 4);
    EXPECT_EQ(outcome()["status"], "no-connection");
    EXPECT_THAT(messages, HasSubstr("does not accept"));
    EXPECT_EQ(tidemark({"config", "check", "work"}), 4);
    server.stop();
    EXPECT_EQ(tidemark({"sync"}), 4);
    EXPECT_THAT(messages, HasSubstr("no connection"));
}

TEST_F(ProgramTest, CheckTellsAFolderThatIsNone)
{
    createConfiguration();
    folder.write("root/server/file", "");
    ASSERT_EQ(tidemark({"config", "set", "work", "--url", server.url("server/absent")}), 0);
    EXPECT_EQ(tidemark({"config", "check", "work"}), 3);
    ASSERT_EQ(tidemark({"config", "set", "work", "--url", server.url("server/file")}), 0);
    EXPECT_EQ(tidemark({"config", "check", "work"}), 3);
}

TEST_F(ProgramTest, AListingThatFailsEndsTheRun)
{
    createConfiguration();
    folder.write("work/a.txt", "a");
    server.addFault({.method = "PROPFIND", .effect = devserver::fault::ReplaceBody{"<multistatus"}, .count = -1});
    EXPECT_EQ(tidemark({"sync", "--json"}), 5);
    EXPECT_EQ(outcome()["status"], "listing-failed");
    EXPECT_TRUE(stdfs::is_empty(folder.path("root/server")));
}

TEST_F(ProgramTest, AnAnswerThatNobodyGivesCancelsTheRunAndDeletesNothing)
{
    createConfiguration();
    folder.write("work/a.txt", "a");
    folder.write("work/b.txt", "b");
    ASSERT_EQ(tidemark({"sync"}), 0);
    stdfs::remove(folder.path("work/a.txt"));
    EXPECT_EQ(tidemark({"sync", "--json"}), 6);
    EXPECT_EQ(outcome()["status"], "cancelled");
    EXPECT_THAT(messages, HasSubstr("--on-delete"));
    EXPECT_TRUE(stdfs::exists(folder.path("root/server/a.txt")));
    EXPECT_EQ(tidemark({"sync", "--on-delete", "delete"}), 0) << messages;
    EXPECT_FALSE(stdfs::exists(folder.path("root/server/a.txt")));

    change("work/b.txt", "here", 10);
    change("root/server/b.txt", "there", 20);
    EXPECT_EQ(tidemark({"sync"}), 6);
    EXPECT_THAT(messages, HasSubstr("--on-conflict"));
    EXPECT_EQ(contentOf(folder.path("work/b.txt")), "here");
    EXPECT_EQ(tidemark({"sync", "--on-conflict", "recent"}), 0) << messages;
    EXPECT_EQ(contentOf(folder.path("work/b.txt")), "there");
}

TEST_F(ProgramTest, ARunUnderWayKeepsOthersAway)
{
    createConfiguration();
    const auto running = BXSyncRunLock::tryAcquire(folder.path("config/work.psi"));
    ASSERT_TRUE(running && *running);
    EXPECT_EQ(tidemark({"sync", "--json"}), 7);
    EXPECT_EQ(outcome()["status"], "busy");
    EXPECT_EQ(tidemark({"config", "delete", "work"}), 7);
    EXPECT_EQ(tidemark({"config", "rename", "work", "job"}), 7);
}

TEST_F(ProgramTest, WithoutNamesEveryEnabledOneRunsOldestFirst)
{
    createConfiguration("zebra");
    createConfiguration("ant");
    createConfiguration("idle", {"--disable"});
    const BXSyncPasswordManager passwords;
    BXSyncConf::setPasswordDelegate(&passwords);
    BXSyncConfigManager store(folder.path("config"));
    const auto oldest = store.loadConf("zebra");
    oldest->setCreationDate(*oldest->creationDate() - std::chrono::hours(1));
    store.save({{"zebra", oldest}});
    BXSyncConf::setPasswordDelegate(nullptr);
    ASSERT_EQ(tidemark({"list", "--json"}), 0);
    const auto list = Json::parse(output)["configurations"];
    ASSERT_EQ(list.size(), 2u);
    EXPECT_EQ(list[0]["name"], "zebra");
    EXPECT_EQ(list[1]["name"], "ant");
    ASSERT_EQ(tidemark({"sync", "--json", "idle"}), 0);
    EXPECT_EQ(outcome()["name"], "idle") << "a name asks for it, enabled or not";
}

TEST_F(ProgramTest, InterruptCancelsTheTransferAndTheSequence)
{
    createConfiguration();
    createConfiguration("second");
    folder.write("work/a.txt", "a");
    folder.write("second/b.txt", "b");
    server.addFault(
        {.method = "PUT", .effect = devserver::fault::Stall{devserver::fault::StallPlace::BeforeReadingBody}});
    ProgramRun program(withConfig({"sync", "--json"}), folder.path());
    ASSERT_TRUE(server.waitForFaults(1));
    program.signal(SIGINT);
    EXPECT_EQ(program.finish(), 6);
    const auto list = Json::parse(program.output())["configurations"];
    ASSERT_EQ(list.size(), 2u);
    EXPECT_EQ(list[0]["status"], "cancelled");
    EXPECT_EQ(list[1]["status"], "cancelled");
    server.clearFaults();
    EXPECT_EQ(tidemark({"sync"}), 0) << messages;
    EXPECT_EQ(contentOf(folder.path("root/server/b.txt")), "b");
}

TEST_F(ProgramTest, InterruptEndsTheSignIn)
{
    createConfiguration();
    server.addFault({.method = "OPTIONS", .effect = devserver::fault::Stall{}});
    ProgramRun program(withConfig({"sync"}), folder.path());
    ASSERT_TRUE(server.waitForFaults(1));
    program.signal(SIGTERM);
    EXPECT_EQ(program.finish(), 6);
}

TEST_F(ProgramTest, InterruptEndsTheWaitForAConnection)
{
    createConfiguration();
    ASSERT_EQ(tidemark({"settings", "set", "BXSYNC_HTTP_RECONNECTION_INTERVAL", "3600"}), 0);
    server.addFault({.method = "PROPFIND", .effect = devserver::fault::CutRequest{}, .count = -1});
    ProgramRun program(withConfig({"sync"}), folder.path());
    ASSERT_TRUE(program.waitFor("trying again in 3600 s"));
    program.signal(SIGINT);
    EXPECT_EQ(program.finish(), 6);
}

TEST_F(ProgramTest, SecretsAreNowhereToBeSeen)
{
    createConfiguration("work", {"--log-dir", folder.makeFolder("logs")});
    folder.write("work/a.txt", "a");
    server.addFault({.method = "PUT", .effect = devserver::fault::Stall{}});
    ProgramRun program(withConfig({"sync", "--verbose"}), folder.path());
    ASSERT_TRUE(server.waitForFaults(1));
    EXPECT_THAT(program.visibleCommandLine(), AllOf(HasSubstr("sync"), Not(HasSubstr(password))));
    server.clearFaults();
    server.releaseStalls();
    program.signal(SIGINT);
    program.finish();
    everything += program.output() + program.messages();
    tidemark({"sync", "--verbose", "--json"});
    tidemark({"config", "show", "work", "--json"});
    tidemark({"config", "set", "work", "--password-stdin", "--verbose"}, "wrong-word\n");
    tidemark({"sync", "--verbose"});
    readAll("logs");
    readAll("config");
    // The header's form of the password, too.
    for (const char* secret : {password, "wrong-word", "a2ltOm9wZW4tc2VzYW1l", "a2ltOndyb25nLXdvcmQ="})
        EXPECT_THAT(everything, Not(HasSubstr(secret)));
    EXPECT_THAT(everything, HasSubstr("a.txt"));
}

TEST_F(ProgramTest, SecretsOfAProxyAServerAndAnIdentityAreNowhereToBeSeen)
{
    using tidemark::testing::RawServer;
    RawServer proxy([](const RawServer::Request&) {
        const auto answer = tidemark::testing::httpAnswer(407, "", "Proxy-Authenticate: Basic realm=\"p\"\r\n");
        return RawServer::Answer{answer};
    });
    createConfiguration("work", {"--log-dir", folder.makeFolder("logs")});
    server.addFault({.effect = devserver::fault::Header{"Set-Cookie", "ticket=cookie-value"}, .count = -1});
    EXPECT_EQ(tidemark({"sync", "--verbose"}), 0) << messages;
    EXPECT_THAT(server.requests().back().header("Cookie").value_or(""), HasSubstr("cookie-value"));

    const std::string address = "127.0.0.1:" + std::to_string(proxy.port());
    EXPECT_EQ(tidemark({"config", "set", "work", "--verbose", "--proxy", address, "--proxy-user", "anna",
                        "--proxy-password-stdin"},
                       "proxy-word\n"),
              0);
    EXPECT_EQ(tidemark({"sync", "--verbose"}), 4);
    const std::string signIn = "YW5uYTpwcm94eS13b3Jk";
    EXPECT_EQ(proxy.requests().back().field("Proxy-Authorization"), "Basic " + signIn);
    EXPECT_EQ(tidemark({"config", "set", "work", "--proxy", "anna:proxy-word@127.0.0.1:80"}), 2);

    tidemark::testing::Certificates certificates;
    const auto person = certificates.client();
    tidemark::testing::requireCommand({"openssl", "pkcs12", "-export", "-inkey", person.key, "-in", person.certificate,
                                       "-passout", "pass:file-word", "-out", folder.path("person.p12")});
    for (const auto* phrase : {"wrong-file-word\n", "file-word\n"})
        EXPECT_EQ(tidemark({"identity", "import", folder.path("person.p12"), "--verbose"}, phrase),
                  *phrase == 'w' ? 2 : 0)
            << messages;
    tidemark({"identity", "list"});
    tidemark({"config", "show", "work"});
    readAll("");
    for (const std::string& secret :
         {std::string("cookie-value"), std::string("proxy-word"), signIn, std::string("file-word")})
        EXPECT_THAT(everything, Not(HasSubstr(secret)));
}

TEST_F(ProgramTest, OnATerminalThePasswordIsAskedForWithoutEcho)
{
    ProgramRun program(withConfig({"config", "create", "work", "--url", server.url("server"), "--local",
                                   folder.makeFolder("work"), "--user", "kim"}),
                       folder.path(), {}, ProgramRun::Connection::terminal);
    ASSERT_TRUE(program.waitFor("Password of kim:"));
    program.type(std::string(password) + "\n");
    EXPECT_EQ(program.finish(), 0) << program.output();
    EXPECT_THAT(program.output(), Not(HasSubstr(password)));
    EXPECT_EQ(tidemark({"config", "check", "work"}), 0) << output << messages;
}

TEST_F(ProgramTest, OnATerminalTheQuestionsAreAsked)
{
    createConfiguration();
    folder.write("work/a.txt", "a");
    ASSERT_EQ(tidemark({"sync"}), 0);
    ASSERT_EQ(tidemark({"config", "set", "work", "--password-stdin"}, "wrong\n"), 0);
    stdfs::remove(folder.path("work/a.txt"));
    ProgramRun program(withConfig({"sync"}), folder.path(), {}, ProgramRun::Connection::terminal);
    ASSERT_TRUE(program.waitFor("User of")) << program.output();
    program.type("\n");
    ASSERT_TRUE(program.waitFor("Password of kim:"));
    program.type(std::string(password) + "\n");
    ASSERT_TRUE(program.waitFor("1) "));
    program.type("2\n");
    EXPECT_EQ(program.finish(), 0) << program.output();
    EXPECT_EQ(contentOf(folder.path("work/a.txt")), "a") << "the second choice restores the file";
}

TEST_F(ProgramTest, OnATerminalAnUntrustedCertificateIsShownAndNotTrustedByDefault)
{
    tidemark::testing::Certificates certificates;
    const auto files = certificates.selfSigned();
    auto options = serverOptions();
    options.tls.enabled = true;
    options.tls.certificateFile = files.certificate;
    options.tls.keyFile = files.key;
    const devserver::Server secure(options);
    createConfiguration("safe");
    ASSERT_EQ(tidemark({"config", "set", "safe", "--url", secure.url("server")}), 0) << messages;
    const auto said = [&](const char* field) {
        const auto text = tidemark::testing::requireCommand(
            {"openssl", "x509", "-in", files.certificate, "-noout", field, "-sha256", "-nameopt", "RFC2253"});
        return text.substr(text.find('=') + 1, text.find('\n') - text.find('=') - 1);
    };
    for (const auto* answer : {"\n", "y\n"}) {
        ProgramRun program(withConfig({"config", "check", "safe"}), folder.path(), {},
                           ProgramRun::Connection::terminal);
        ASSERT_TRUE(program.waitFor("[y/N]")) << program.output();
        program.type(answer);
        EXPECT_EQ(program.finish(), *answer == 'y' ? 0 : 4) << program.output();
        EXPECT_THAT(program.output(), AllOf(HasSubstr(said("-fingerprint")), HasSubstr("subject"), HasSubstr("issuer"),
                                            HasSubstr("valid")));
    }
}

TEST_F(ProgramTest, ControlCOnATerminalLeavesItsEchoOn)
{
    ProgramRun program(withConfig({"config", "create", "work", "--url", server.url("server"), "--local",
                                   folder.makeFolder("work"), "--user", "kim"}),
                       folder.path(), {}, ProgramRun::Connection::terminal);
    ASSERT_TRUE(program.waitFor("Password of kim:"));
    program.type("\x03");
    EXPECT_EQ(program.finish(), 6) << program.output();
    EXPECT_FALSE(stdfs::exists(folder.path("config/work.xml")));
}

} // namespace
} // namespace tidemark::cli
