#include "platform/HttpFailure.h"

#include <curl/curl.h> // result codes only
#include <gtest/gtest.h>

namespace tidemark {
namespace {

struct Case
{
    const char* name;
    int code;
    bool requested;
    int alert;
    bool hasIdentity;
    bool sawResponse;
    HttpStreamFailure expected;
};

class HttpFailureTable : public ::testing::TestWithParam<Case>
{
};

TEST_P(HttpFailureTable, TellsOutcomesApart)
{
    const Case& c = GetParam();
    HttpTlsObservation tls;
    tls.certificateRequested = c.requested;
    tls.alert = c.alert;
    const auto error = classifyFailure({c.code, "", c.sawResponse, c.hasIdentity}, tls);
    EXPECT_EQ(error.kind, c.expected);
    EXPECT_EQ(error.code, c.code);
    EXPECT_FALSE(error.text.empty());
}

constexpr int none = HttpTlsObservation::noAlert;
using Kind = HttpStreamFailure;

INSTANTIATE_TEST_SUITE_P(
    Outcomes, HttpFailureTable,
    ::testing::Values(
        Case{"chain", CURLE_PEER_FAILED_VERIFICATION, false, none, false, false, Kind::serverCertificateUntrusted},
        Case{"tls13missing", CURLE_SSL_CLIENTCERT, true, 116, false, false, Kind::clientCertificateMissing},
        Case{"tls13refused", CURLE_SSL_CLIENTCERT, true, 116, true, false, Kind::clientCertificateRefused},
        Case{"tls12missing", CURLE_SSL_CONNECT_ERROR, true, 40, false, false, Kind::clientCertificateMissing},
        Case{"alertAfterHandshake", CURLE_RECV_ERROR, true, 116, false, false, Kind::clientCertificateMissing},
        Case{"resetBeforeAlert", CURLE_SEND_ERROR, true, none, false, false, Kind::clientCertificateMissing},
        Case{"unknownCa", CURLE_RECV_ERROR, true, 48, true, false, Kind::clientCertificateRefused},
        Case{"unusableIdentity", CURLE_SSL_CERTPROBLEM, false, none, true, false, Kind::clientCertificateRefused},
        Case{"noCommonProtocol", CURLE_SSL_CONNECT_ERROR, false, 70, false, false, Kind::other},
        Case{"resetWithIdentity", CURLE_RECV_ERROR, true, none, true, false, Kind::other},
        Case{"resetInBody", CURLE_RECV_ERROR, true, none, false, true, Kind::other},
        Case{"refusedConnection", CURLE_COULDNT_CONNECT, false, none, false, false, Kind::other}),
    [](const auto& one) { return std::string(one.param.name); });

} // namespace
} // namespace tidemark
