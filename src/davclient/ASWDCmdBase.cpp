#include "davclient/ASWDCmdBase.h"

#include <algorithm>

#include "config/BXSyncGlobalConf.h"

namespace tidemark {

bool ASWDCmdBase::execute()
{
    responseBody_.clear();
    return ASWDCmd::execute();
}

std::optional<double> ASWDCmdBase::timeout()
{
    return static_cast<double>(BXSyncGlobalConf::getInstance().timeout());
}

bool ASWDCmdBase::handleBytes(ASHttpConnection&, std::span<const std::byte> bytes)
{
    if (bytes.size() > limit_ - std::min(limit_, responseBody_.size())) {
        refuseResponse("The body of the response is larger than " + std::to_string(limit_) + " bytes.");
        return false;
    }
    responseBody_.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    return true;
}

void ASWDCmdBase::didReceiveAuthenticationChallenge(ASHttpConnection& connection,
                                                    const ASHttpAuthentication& authentication, bool isProxy)
{
    const auto self = weak_from_this().lock();
    ASWDCmd::didReceiveAuthenticationChallenge(connection, authentication, isProxy);
    responseBody_.clear();
}

bool ASWDCmdRequestBase::connect()
{
    return connection()->openStreamWithRequestBodyData(std::make_shared<const std::string>(requestBody_));
}

} // namespace tidemark
