#include "davclient/ASWDCmdSimple.h"

#include "config/BXSyncGlobalConf.h"

namespace tidemark {

std::optional<double> ASWDCmdOptions::timeout()
{
    return static_cast<double>(BXSyncGlobalConf::getInstance().optionsTimeout());
}

bool ASWDCmdDestinationBase::makeRequest()
{
    if (!ASWDCmdBase::makeRequest()) return false;
    connection()->setHeaderField("Destination", destinationURL_.encodedPath());
    return true;
}

} // namespace tidemark
