#include "Wire.h"

#include "davclient/ASHttpConnection.h"
#include "platform/Places.h"

namespace tidemark::testing {

namespace {

/// Keeps the settings of the person who runs the tests out of them.
class OwnPlaces : public ::testing::Environment
{
    void SetUp() override { Places::setRoot(directory_.path()); }

    ServerDirectory directory_;
};

const auto* const places = ::testing::AddGlobalTestEnvironment(new OwnPlaces);

} // namespace

Url urlOf(const std::string& text)
{
    return Url::parse(text).value();
}

void copyCredentials(const ApacheServer& server, ASHttpConnectInfo& info)
{
    info.setIsUseAuthorization(server.options().signIn != SignIn::none);
    info.setUsername(server.options().user);
    info.setPassword(server.options().password);
}

std::shared_ptr<ASHttpConnectInfo> connectInfoFor(const ApacheServer& server)
{
    auto info = std::make_shared<ASHttpConnectInfo>();
    copyCredentials(server, *info);
    return info;
}

std::string outcomeOf(const ASWDCmd& command)
{
    if (!command.error()) return std::to_string(command.statusCode());
    for (const char* key : {ASHttpConnection::serverCertificateErrorKey, ASHttpConnection::clientCertificateErrorKey})
        if (const std::string value = command.error()->value(key); !value.empty()) return value;
    return "failed";
}

const char* nameOf(SignIn signIn)
{
    switch (signIn) {
    case SignIn::none:
        return "none";
    case SignIn::basic:
        return "basic";
    case SignIn::digest:
        return "digest";
    }
    return "";
}

} // namespace tidemark::testing
