#include "WireFixture.h"
#include "davclient/ASWDCmdSimple.h"
#include "devserver/Server.h"

namespace tidemark {
namespace {

class Tls : public testing::WireFixture, public ::testing::WithParamInterface<devserver::TlsVersion>
{
protected:
    void serveTls(bool requiresClientCertificate = false, std::vector<std::string> names = {"localhost", "127.0.0.1"})
    {
        devserver::Options options;
        options.root = folder_;
        options.tls.enabled = true;
        options.tls.minimum = GetParam();
        options.tls.maximum = GetParam();
        options.tls.names = std::move(names);
        options.tls.requireClientCertificate = requiresClientCertificate;
        options.tls.clientAuthorities = requiresClientCertificate ? path("trust.pem") : "";
        secure_ = std::make_unique<devserver::Server>(options);
        writeFile("trust.pem", secure_->certificatePem());
    }

    /// The certificate outcome of an OPTIONS request, or its status.
    std::string outcome()
    {
        auto command = std::make_shared<ASWDCmdOptions>(Url::parse(secure_->url()).value(), info_);
        run(*command);
        if (!command->error()) return std::to_string(command->statusCode());
        return command->error()->value(ASHttpConnection::serverCertificateErrorKey) +
               command->error()->value(ASHttpConnection::clientCertificateErrorKey);
    }

    std::unique_ptr<devserver::Server> secure_;
};

TEST_P(Tls, ChainAndNameAreCheckedUntilSwitchedOff)
{
    serveTls();
    EXPECT_EQ(outcome(), "ServerSelfCertificate");
    info_->setExtraTrustFile(path("trust.pem"));
    EXPECT_EQ(outcome(), "200");

    serveTls(false, {"elsewhere.example"});
    EXPECT_EQ(outcome(), "ServerSelfCertificate");
    info_->setValidatesSecureCertificate(false);
    EXPECT_EQ(outcome(), "200");
}

TEST_P(Tls, ADemandedClientCertificateThatIsMissingIsTold)
{
    serveTls();
    serveTls(true);
    info_->setValidatesSecureCertificate(false);
    EXPECT_EQ(outcome(), "ClientCertificateNone");
}

TEST_P(Tls, AnIdentityThatCannotBeUsedIsInvalid)
{
    serveTls();
    info_->setValidatesSecureCertificate(false);
    info_->setClientCertificates(std::make_shared<ClientIdentityPem>(ClientIdentityPem{"no", "pem"}));
    EXPECT_EQ(outcome(), "ClientCertificateInvalid");
}

TEST_P(Tls, RequestsShareOneHandshake)
{
    serveTls();
    info_->setValidatesSecureCertificate(false);
    for (int i = 0; i < 1000; ++i)
        ASSERT_EQ(outcome(), "200");
    EXPECT_EQ(secure_->connectionCount(), 1U);
}

INSTANTIATE_TEST_SUITE_P(Versions, Tls, ::testing::Values(devserver::TlsVersion::Tls12, devserver::TlsVersion::Tls13),
                         [](const auto& one) {
                             return one.param == devserver::TlsVersion::Tls12 ? std::string("Tls12")
                                                                              : std::string("Tls13");
                         });

} // namespace
} // namespace tidemark
