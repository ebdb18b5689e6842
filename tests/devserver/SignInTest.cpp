#include "devserver/ServedFolder.h"

#include "devserver/SelfSignedCertificate.h"

#include <curl/curl.h>

namespace devserver::test {
namespace {

class SignInTest : public ServedFolder
{
protected:
    void signInWith(AuthScheme scheme)
    {
        options.auth = scheme;
        options.user = "user";
        options.password = "pass\"word:ä";
        writeFile(folder / "a", "content");
    }
    std::vector<int> statuses()
    {
        std::vector<int> result;
        for (const auto& record : server().requests())
            result.push_back(record.responseStatus);
        return result;
    }
};

TEST_F(SignInTest, BasicWantsUserAndPassword)
{
    signInWith(AuthScheme::Basic);
    const Reply refused = send("GET", "/a");
    EXPECT_EQ(refused.status, 401);
    EXPECT_THAT(refused.header("WWW-Authenticate"), ::testing::StartsWith("Basic realm="));
    EXPECT_EQ(send("GET", "/a", {"Authorization: Basic !!!"}).status, 401);
    client().signIn("user", "wrong", CURLAUTH_BASIC);
    EXPECT_EQ(send("GET", "/a").status, 401);
    client().signIn("user", options.password, CURLAUTH_BASIC);
    EXPECT_EQ(send("GET", "/a").body, "content");
}

TEST_F(SignInTest, DigestAcceptsItsNonceUntilItIsStale)
{
    options.nonceUses = 3;
    signInWith(AuthScheme::Digest);
    client().signIn("user", options.password, CURLAUTH_DIGEST);
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(send("GET", "/a").body, "content") << i;
    EXPECT_THAT(statuses(), ::testing::ElementsAre(401, 200, 200, 200, 401, 200));
    client().signIn("user", "wrong", CURLAUTH_DIGEST);
    EXPECT_EQ(send("GET", "/a").status, 401);
    EXPECT_EQ(send("GET", "/a", {"Authorization: Digest username=\"user"}).status, 401);
}

TEST_F(SignInTest, ARefusedUploadLeavesNothingAndKeepsTheConnection)
{
    signInWith(AuthScheme::Basic);
    EXPECT_EQ(send("PUT", "/b", {}, std::string(1000, 'x')).status, 401);
    EXPECT_FALSE(std::filesystem::exists(folder / "b"));
    client().signIn("user", options.password, CURLAUTH_BASIC);
    EXPECT_EQ(send("PUT", "/b", {}, "x").status, 201);
    EXPECT_EQ(server().connectionCount(), 1U);
}

class TlsTest : public SignInTest
{
protected:
    TlsTest()
    {
        options.tls.enabled = true;
        writeFile(folder / "a", "content");
    }
};

TEST_F(TlsTest, ServesWithACertificateMadeForItsNames)
{
    EXPECT_EQ(send("GET", "/a").error, CURLE_PEER_FAILED_VERIFICATION);
    client().trust(server().certificatePem());
    EXPECT_EQ(send("GET", "/a").body, "content");
    const std::string large(3'000'000, 'x');
    EXPECT_EQ(send("PUT", "/large", {}, large).status, 201);
    EXPECT_EQ(send("GET", "/large").body, large);
}

TEST_F(TlsTest, MayHaveAWrongNameOrBeExpired)
{
    options.tls.names = {"elsewhere.example"};
    client().trust(server().certificatePem());
    EXPECT_EQ(send("GET", "/a").error, CURLE_PEER_FAILED_VERIFICATION);

    options.tls.names = {"127.0.0.1"};
    options.tls.validUntil = -60;
    const Server expired(options);
    Client other(expired);
    other.trust(expired.certificatePem());
    EXPECT_EQ(other.send("GET", "/a").error, CURLE_PEER_FAILED_VERIFICATION);
}

TEST_F(TlsTest, HoldsToItsVersions)
{
    options.tls.minimum = TlsVersion::Tls13;
    client().trust(server().certificatePem());
    client().limitTls(CURL_SSLVERSION_MAX_TLSv1_2);
    EXPECT_EQ(send("GET", "/a").error, CURLE_SSL_CONNECT_ERROR);
    client().limitTls(CURL_SSLVERSION_TLSv1_3);
    EXPECT_EQ(send("GET", "/a").status, 200);
}

TEST_F(TlsTest, MayDemandAClientCertificate)
{

    const auto made = makeSelfSignedCertificate({"client"}, -60, 3600);
    TemporaryFolder keys;
    writeFile(keys / "client.pem", made.certificatePem);
    writeFile(keys / "client.key", made.keyPem);
    options.tls.requireClientCertificate = true;
    EXPECT_THROW(Server{options}, std::runtime_error);
    options.tls.clientAuthorities = keys / "client.pem";
    client().trust(server().certificatePem());
    EXPECT_NE(send("GET", "/a").error, CURLE_OK);
    client().useCertificate(keys / "client.pem", keys / "client.key");
    EXPECT_EQ(send("GET", "/a").status, 200);
}

} // namespace
} // namespace devserver::test
