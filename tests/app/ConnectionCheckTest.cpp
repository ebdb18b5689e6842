#include "app/ConnectionCheck.h"

#include <gtest/gtest.h>

#include "devserver/Server.h"
#include "security/BXSyncCertificateManager.h"
#include "tests/app/CommandWorld.h"
#include "tests/support/Certificates.h"
#include "tests/support/Process.h"
#include "tests/support/RawServer.h"

namespace tidemark::cli {
namespace {

using testing::contentOf;
using tidemark::testing::CertificateFiles;
using tidemark::testing::httpAnswer;
using tidemark::testing::RawServer;
using Kind = ConnectionVerdict::Kind;

struct ConnectionCheckTest : ::testing::Test
{
    ConnectionVerdict check(const ConfigurationDraft& draft) { return ConnectionCheck(draft, identities).run(); }
    static ConfigurationDraft draftOf(const std::string& url)
    {
        ConfigurationDraft draft;
        draft.name = "work";
        draft.url = url;
        return draft;
    }
    std::string import(const CertificateFiles& files)
    {
        return identities.store().add(contentOf(files.certificate) + contentOf(files.key), "")->identifier;
    }

    testing::TemporaryFolder folder;
    BXSyncCertificateManager identities{IdentityStore(folder.path("identities"))};
};

TEST_F(ConnectionCheckTest, AnswersAreToldApart)
{
    const std::string welcome = httpAnswer(200, "", "DAV: 1\r\nX-BX-Marlock-Version: 5\r\n");
    const auto listing = [](const std::string& type) {
        return httpAnswer(207, "<multistatus><response><propstat><prop><resourcetype>" + type +
                                   "</resourcetype></prop></propstat></response></multistatus>");
    };
    struct Case
    {
        std::string login;
        std::string folder;
        Kind kind;
        std::string fault = {};
    };
    const Case cases[] = {
        {welcome, listing("<collection/>"), Kind::usable},
        {welcome, listing(""), Kind::folder, "SERVER_NOT_FOLDER"},
        {welcome, httpAnswer(403), Kind::folder, "DENIED_ACCESS_FOLDER"},
        {httpAnswer(200), "", Kind::notWebDav},
        {httpAnswer(401, "", "WWW-Authenticate: Basic realm=r\r\n"), "", Kind::signIn},
        {httpAnswer(407, "", "Proxy-Authenticate: Basic realm=r\r\n"), "", Kind::proxySignIn},
        {httpAnswer(500), "", Kind::noConnection},
    };
    for (const Case& item : cases) {
        RawServer server([&](const RawServer::Request& request) {
            return RawServer::Answer{request.head.starts_with("OPTIONS ") ? item.login : item.folder};
        });
        const auto verdict = check(draftOf(server.url("/dav")));
        EXPECT_EQ(verdict.kind, item.kind) << item.login;
        EXPECT_EQ(verdict.folderFault, item.fault);
        EXPECT_EQ(verdict.marlockVersion, item.kind == Kind::usable ? "5" : "");
    }
    EXPECT_EQ(check(draftOf("http://127.0.0.1:" + std::to_string(tidemark::testing::freePort()))).kind,
              Kind::noConnection);
}

TEST_F(ConnectionCheckTest, CertificatesAreToldApart)
{
    tidemark::testing::Certificates certificates;
    devserver::Options options;
    options.root = folder.makeFolder("root");
    options.tls.enabled = true;
    options.tls.requireClientCertificate = true;
    options.tls.clientAuthorities = certificates.authority();
    const devserver::Server server(options);
    auto draft = draftOf(server.url("folder"));
    const auto untrusted = check(draft);
    EXPECT_EQ(untrusted.kind, Kind::untrustedCertificate);
    EXPECT_TRUE(untrusted.certificate);

    draft.ignoreServerCert = true;
    EXPECT_EQ(check(draft).kind, Kind::clientCertificate) << "none";
    draft.certificateId = import(certificates.stranger());
    EXPECT_EQ(check(draft).kind, Kind::clientCertificate) << "another one than is asked for";
    draft.certificateId = import(certificates.client());
    EXPECT_EQ(check(draft).kind, Kind::folder);
}

TEST_F(ConnectionCheckTest, ACheckThatIsCalledOffSaysSo)
{
    RawServer silent([](const RawServer::Request&) { return RawServer::Answer{}; });
    ConnectionCheck check(draftOf(silent.url()), identities);
    check.cancel();
    EXPECT_EQ(check.run().kind, Kind::cancelled);
}

} // namespace
} // namespace tidemark::cli
