#include "davclient/ASWDCmdPropBase.h"

#include "Logger/BXLogger.h"
#include "config/BXSyncGlobalConf.h"

namespace tidemark {

namespace {

constexpr const char* allPropertiesBody =
    "<?xml version=\"1.0\" encoding=\"utf-8\" ?><D:propfind xmlns:D=\"DAV:\"><D:allprop/><D:include>"
    "<D:supported-live-property-set/><D:supported-report-set/></D:include></D:propfind>";

/// Servers know this text as it is: the undeclared prefix and the closing tag are part of it.
std::string lockBody(const std::string& ownerHREF)
{
    return "<?xml version=\"1.0\" encoding=\"utf-8\" ?><lockinfo xmlns:D=\"DAV:\"><d:lockscope><d:exclusive/>"
           "</d:lockscope><d:locktype><d:write/></d:locktype><d:owner><d:href>" +
           ownerHREF + "</d:href></d:owner></loclinfo>";
}

} // namespace

void ASWDCmdPropBase::parserDidFinishDocument(ASXMLDomParser& parser)
{
    responseRootNode_ = parser.rootElement();
    fireCompleted();
}

void ASWDCmdPropBase::parserError(ASXMLDomParser& parser)
{
    setError(xmlParseError, parser.error() ? parser.error()->description() : "The response is not XML.");
    BXLogger::getLogger()->debug("xml parse error");
    fireError();
}

ASWDCmdPropFind::ASWDCmdPropFind(Url remoteURL, std::shared_ptr<ASHttpConnectInfo> connectInfo)
    : ASWDCmdPropBase(std::move(remoteURL), std::move(connectInfo))
{
    setRequestBody(allPropertiesBody);
}

std::optional<double> ASWDCmdPropFind::timeout()
{
    return static_cast<double>(BXSyncGlobalConf::getInstance().propfindTimeout());
}

bool ASWDCmdPropFind::makeRequest()
{
    if (!ASWDCmdPropBase::makeRequest()) return false;
    if (depth_) connection()->setHeaderField("Depth", std::to_string(*depth_));
    return true;
}

ASWDCmdLock::ASWDCmdLock(Url remoteURL, std::shared_ptr<ASHttpConnectInfo> connectInfo)
    : ASWDCmdPropBase(std::move(remoteURL), std::move(connectInfo))
{
    setRequestBody(lockBody(ownerHREF_));
}

bool ASWDCmdUnlock::makeRequest()
{
    if (!ASWDCmdRequestBase::makeRequest()) return false;
    connection()->setHeaderField("Lock-Token", lockToken_);
    return true;
}

} // namespace tidemark
