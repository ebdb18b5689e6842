// Client certificates on the command line, from the file to the server that demands them.

#include <gmock/gmock.h>

#include "devserver/Server.h"
#include "tests/app/ProgramWorld.h"
#include "tests/support/Certificates.h"

namespace tidemark::cli {
namespace {

namespace stdfs = std::filesystem;
using ::testing::AllOf;
using testing::contentOf;
using ::testing::HasSubstr;
using ::testing::Not;
using testing::ProgramRun;
using tidemark::testing::CertificateFiles;
using tidemark::testing::requireCommand;

constexpr const char* passphrase = "open the file";

struct IdentityCommandsTest : testing::ProgramWorld
{
    /// A PKCS#12 document of that person.
    std::string pkcs12Of(const CertificateFiles& person, const std::string& name) const
    {
        const auto path = folder.path(name);
        requireCommand({"openssl", "pkcs12", "-export", "-inkey", person.key, "-in", person.certificate, "-passout",
                        std::string("pass:") + passphrase, "-out", path});
        return path;
    }
    /// The identifier of what was taken; "" where it was refused.
    std::string import(const std::string& file, std::vector<std::string> more = {}, const std::string& input = {})
    {
        more.insert(more.begin(), {"identity", "import", file});
        const int status = tidemark(more, input);
        EXPECT_EQ(status == 0, !output.empty());
        EXPECT_THAT(status, ::testing::AnyOf(0, 2)) << messages;
        return output.substr(0, output.find('\n'));
    }
    std::string listed()
    {
        EXPECT_EQ(tidemark({"identity", "list"}), 0) << messages;
        return output;
    }
    static unsigned modeOf(const std::string& path) { return static_cast<unsigned>(stdfs::status(path).permissions()); }

    tidemark::testing::Certificates certificates;
};

TEST_F(IdentityCommandsTest, APkcs12DocumentIsTakenWithThePassphraseFromStandardInput)
{
    const auto document = pkcs12Of(certificates.client(), "person.p12");
    for (const auto* wrong : {"another\n", "", "\n"}) {
        EXPECT_EQ(import(document, {}, wrong), "");
        EXPECT_THAT(messages, AllOf(HasSubstr(document), HasSubstr("passphrase is wrong")));
    }
    EXPECT_EQ(listed(), "");

    const auto identifier = import(document, {"--label", "Büro"}, std::string(passphrase) + "\nnext line\n");
    const auto folderOfKeys = folder.path("config/identities");
    EXPECT_EQ(modeOf(folderOfKeys), 0700U);
    EXPECT_EQ(modeOf(folderOfKeys + "/" + identifier + ".identity"), 0600U);
    const auto expiry = requireCommand(
        {"openssl", "x509", "-in", certificates.client().certificate, "-noout", "-enddate", "-dateopt", "iso_8601"});
    auto day = expiry.substr(expiry.find('=') + 1, 10);
    std::replace(day.begin(), day.end(), '-', '/');
    EXPECT_THAT(listed(), AllOf(HasSubstr(identifier), HasSubstr("Büro"), HasSubstr("authority"), HasSubstr(day)));
    EXPECT_THAT(everything, Not(HasSubstr(passphrase)));

    EXPECT_EQ(import(document, {"--label", "other"}, std::string(passphrase) + "\n"), identifier)
        << "the same certificate stays the same identity";
    EXPECT_THAT(listed(), AllOf(HasSubstr("other"), Not(HasSubstr("Büro"))));
}

TEST_F(IdentityCommandsTest, APemDocumentIsTakenWithAndWithoutAPassphrase)
{
    const auto person = certificates.client();
    const auto open = folder.write("open.pem", contentOf(person.certificate) + contentOf(person.key));
    const auto identifier = import(open);
    EXPECT_THAT(listed(), AllOf(HasSubstr(identifier), HasSubstr("  client  ")));

    requireCommand({"openssl", "pkey", "-in", person.key, "-aes256", "-passout", std::string("pass:") + passphrase,
                    "-out", folder.path("key.pem")});
    const auto locked = folder.write("locked.pem", contentOf(folder.path("key.pem")) + contentOf(person.certificate));
    EXPECT_EQ(import(locked, {}, "another\n"), "");
    EXPECT_EQ(import(locked, {}, std::string(passphrase) + "\n"), identifier);
}

TEST_F(IdentityCommandsTest, OnATerminalThePassphraseIsAskedForWithoutEcho)
{
    const auto document = pkcs12Of(certificates.client(), "person.p12");
    ProgramRun program(withConfig({"identity", "import", document}), folder.path(), {},
                       ProgramRun::Connection::terminal);
    ASSERT_TRUE(program.waitFor("Passphrase of the file:")) << program.output();
    program.type(std::string(passphrase) + "\n");
    EXPECT_EQ(program.finish(), 0) << program.output();
    EXPECT_THAT(program.output(), AllOf(Not(HasSubstr(passphrase)), HasSubstr("took the identity 'client'")));
    EXPECT_THAT(listed(), HasSubstr("client"));
}

TEST_F(IdentityCommandsTest, WhatIsNoIdentityIsRefused)
{
    const auto person = certificates.client();
    const auto stranger = certificates.stranger();
    for (const auto& [content, complaint] :
         {std::pair{contentOf(person.certificate), "no certificate with a private key"},
          std::pair{contentOf(person.key), "no certificate with a private key"},
          std::pair{contentOf(stranger.certificate) + contentOf(person.key), "belongs to its private key"},
          std::pair{std::string(), "no certificate with a private key"},
          std::pair{std::string(2 << 20, 'x'), "document"}}) {
        EXPECT_EQ(import(folder.write("document", content)), "");
        EXPECT_THAT(messages, HasSubstr(complaint));
    }
    EXPECT_EQ(import(folder.path("missing")), "");
    EXPECT_THAT(messages, HasSubstr(folder.path("missing")));
    EXPECT_EQ(listed(), "");
}

TEST_F(IdentityCommandsTest, AnIdentityIsRemovedUnlessAConfigurationNeedsIt)
{
    const auto person = certificates.client();
    const auto identifier = import(folder.write("person.pem", contentOf(person.certificate) + contentOf(person.key)));
    for (const std::string& unknown : {std::string("unknown"), std::string(64, '0'), "../" + identifier})
        EXPECT_EQ(tidemark({"identity", "remove", unknown}), 3) << messages;
    ASSERT_EQ(tidemark({"config", "create", "work", "--url", "https://files.example/dav/", "--local",
                        folder.makeFolder("work"), "--identity", identifier}),
              0)
        << messages;
    EXPECT_EQ(tidemark({"identity", "remove", identifier}), 3);
    EXPECT_THAT(messages, HasSubstr("'work' uses that identity"));
    EXPECT_THAT(listed(), HasSubstr(identifier));

    EXPECT_EQ(tidemark({"config", "set", "work", "--identity", "none"}), 0) << messages;
    EXPECT_EQ(tidemark({"identity", "remove", identifier}), 0) << messages;
    EXPECT_EQ(listed(), "");
    EXPECT_TRUE(stdfs::is_empty(folder.path("config/identities")));
    EXPECT_EQ(tidemark({"identity", "remove", identifier}), 3);
}

TEST_F(IdentityCommandsTest, AServerThatDemandsACertificateGetsTheConfigurationsOwn)
{
    devserver::Options options;
    options.root = folder.makeFolder("root");
    options.tls.enabled = true;
    options.tls.requireClientCertificate = true;
    options.tls.clientAuthorities = certificates.authority();
    const devserver::Server server(options);
    ASSERT_EQ(tidemark({"config", "create", "work", "--url", server.url(), "--local", folder.makeFolder("work"),
                        "--ignore-server-cert", "yes"}),
              0)
        << messages;
    const auto check = [&](const CertificateFiles* person) {
        std::string identifier = "none";
        if (person)
            identifier = import(folder.write("person.pem", contentOf(person->certificate) + contentOf(person->key)));
        EXPECT_EQ(tidemark({"config", "set", "work", "--identity", identifier}), 0) << messages;
        return tidemark({"config", "check", "work"});
    };
    EXPECT_EQ(check(nullptr), 4);
    EXPECT_THAT(messages, HasSubstr("asks for a client certificate"));
    const auto stranger = certificates.stranger();
    EXPECT_EQ(check(&stranger), 4);
    EXPECT_THAT(messages, HasSubstr("does not accept the client certificate"));
    const auto person = certificates.client();
    EXPECT_EQ(check(&person), 0) << messages;
}

} // namespace
} // namespace tidemark::cli
