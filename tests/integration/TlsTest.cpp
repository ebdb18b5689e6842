// Certificates of servers and of clients, against Apache's mod_ssl.

#include <tuple>

#include <gtest/gtest.h>

#include "Wire.h"
#include "davclient/ASWDCmdPropBase.h"
#include "davclient/ASWDCmdSimple.h"
#include "davclient/ASWDCmdUpload.h"
#include "support/RawServer.h"

namespace tidemark::testing {

namespace {

std::shared_ptr<const ClientIdentityPem> identityOf(const CertificateFiles& files)
{
    return std::make_shared<ClientIdentityPem>(ClientIdentityPem{readFile(files.certificate), readFile(files.key)});
}

class Tls : public ::testing::TestWithParam<const char*>
{
protected:
    std::string request(const ApacheServer& server, bool checks, std::shared_ptr<const ClientIdentityPem> identity = {})
    {
        const auto info = connectInfoFor(server);
        info->setExtraTrustFile(certificates_.authority());
        info->setValidatesSecureCertificate(checks);
        info->setClientCertificates(std::move(identity));
        return outcomeOf(*send<ASWDCmdOptions>(server.url(), info));
    }

    Certificates certificates_;
};

} // namespace

TEST_P(Tls, AServersCertificateIsCheckedUnlessThatIsSwitchedOff)
{
    struct Case
    {
        const char* name;
        CertificateFiles certificate;
        const char* checked;
    };
    const Case cases[] = {
        {"valid", certificates_.valid(), "200"},
        {"self-signed", certificates_.selfSigned(), "ServerSelfCertificate"},
        {"expired", certificates_.expired(), "ServerSelfCertificate"},
        {"wrong host", certificates_.wrongHost(), "ServerSelfCertificate"},
    };
    for (const Case& item : cases) {
        SCOPED_TRACE(item.name);
        const ApacheServer server({.tls = ApacheTls{item.certificate, GetParam()}});
        EXPECT_EQ(request(server, true), item.checked);
        EXPECT_EQ(request(server, false), "200");
        // What has been accepted unchecked is not taken for checked afterwards.
        EXPECT_EQ(request(server, true), item.checked);
        EXPECT_EQ(server.requests().front().tlsProtocol, GetParam());
    }
}

TEST_P(Tls, AnUnknownRootIsNotTrusted)
{
    const ApacheServer server({.tls = ApacheTls{certificates_.valid(), GetParam()}});
    EXPECT_EQ(outcomeOf(*send<ASWDCmdOptions>(server.url(), connectInfoFor(server))), "ServerSelfCertificate");
}

TEST_P(Tls, AClientCertificateIsAskedFor)
{
    const ApacheServer server({.tls = ApacheTls{certificates_.valid(), GetParam(), certificates_.authority()}});
    EXPECT_EQ(request(server, true), "ClientCertificateNone");
    EXPECT_EQ(request(server, true, identityOf(certificates_.stranger())), "ClientCertificateInvalid");
    EXPECT_EQ(request(server, true, identityOf(certificates_.client())), "200");
    // The connection that was made with a certificate is not used without one.
    EXPECT_EQ(request(server, true), "ClientCertificateNone");

    const std::vector<ApacheRequest> requests = server.requests();
    ASSERT_EQ(countStatus(requests, 200), 1U);
    EXPECT_EQ(requests.front().clientCertificate, "client");
}

TEST_P(Tls, ARedirectionElsewhereIsNoReasonToShowAnIdentity)
{
    RawServer elsewhere([](const RawServer::Request&) { return RawServer::Answer{httpAnswer(200)}; });
    const std::string port = std::to_string(elsewhere.port());
    const ApacheServer server({.tls = ApacheTls{certificates_.valid(), GetParam(), certificates_.authority()},
                               .directives = "Redirect 302 /port https://127.0.0.1:" + port +
                                             "/x\nRedirect 307 /scheme http://127.0.0.1:" + port + "/x"});
    const auto info = connectInfoFor(server);
    info->setExtraTrustFile(certificates_.authority());
    info->setClientCertificates(identityOf(certificates_.client()));
    EXPECT_EQ(outcomeOf(*send<ASWDCmdOptions>(server.url("/port"), info)), "302");
    auto put = std::make_shared<ASWDCmdPut>(urlOf(server.url("/scheme")), info);
    put->setRequestBody("text");
    EXPECT_EQ(outcomeOf(*carryOut(put)), "307");

    // Connections are accepted in their order: whoever came before would be the first.
    EXPECT_EQ(outcomeOf(*send<ASWDCmdOptions>(elsewhere.url(), std::make_shared<ASHttpConnectInfo>())), "200");
    EXPECT_EQ(elsewhere.requests().at(0).connection, 0);
}

TEST_P(Tls, AnUploadTellsAMissingClientCertificateToo)
{
    const ApacheServer server({.tls = ApacheTls{certificates_.valid(), GetParam(), certificates_.authority()}});
    const auto info = connectInfoFor(server);
    info->setExtraTrustFile(certificates_.authority());
    auto put = std::make_shared<ASWDCmdPut>(urlOf(server.url("/file")), info);
    put->setRequestBody(std::string(4 * 1024 * 1024, 'x'));
    EXPECT_EQ(outcomeOf(*carryOut(put)), "ClientCertificateNone");
    EXPECT_FALSE(exists(server.root() / "file"));
}

TEST_P(Tls, ManyRequestsShakeHandsOnce)
{
    const ApacheServer server({.signIn = SignIn::digest, .tls = ApacheTls{certificates_.valid(), GetParam()}});
    const auto info = connectInfoFor(server);
    info->setExtraTrustFile(certificates_.authority());
    for (int number = 0; number < 1000; ++number)
        ASSERT_EQ(outcomeOf(*send<ASWDCmdOptions>(server.url(), info)), "200") << number;
    const std::vector<ApacheRequest> requests = server.requests();
    EXPECT_EQ(requests.size(), 1001U);
    EXPECT_EQ(countConnections(requests), 1U);
}

INSTANTIATE_TEST_SUITE_P(Version, Tls, ::testing::Values("TLSv1.2", "TLSv1.3"),
                         [](const auto& value) { return value.index == 0 ? "Tls12" : "Tls13"; });

} // namespace tidemark::testing
