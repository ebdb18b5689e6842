#include "config/FolderCheck.h"

#include <algorithm>

#include "davclient/ASPropertyNamespace.h"
#include "davclient/ASWDCmdPropBase.h"
#include "davclient/ASXMLDomParser.h"
#include "platform/RunLoop.h"

namespace tidemark {

namespace {

constexpr const char* connectionError = "CONNECTION_ERROR";
constexpr const char* notFolder = "SERVER_NOT_FOLDER";

std::string requestBody()
{
    return std::string("<?xml version=\"1.0\" encoding=\"utf-8\" ?><D:propfind xmlns:D=\"DAV:\" xmlns:E=\"") +
           propertyNamespaceURI +
           "\"><D:prop><D:resourcetype/></D:prop><D:include><D:supported-live-property-set/>"
           "<D:supported-report-set/></D:include></D:propfind>";
}

std::string withSlash(std::string_view path)
{
    std::string text(path);
    if (!text.ends_with('/')) text += '/';
    return text;
}

std::string withSingleSlashes(std::string_view path)
{
    std::string text = withSlash(path);
    const auto repeated = [](char a, char b) { return a == '/' && b == '/'; };
    text.erase(std::unique(text.begin(), text.end(), repeated), text.end());
    return text;
}

bool hasCollection(const ASXMLDomNode& root)
{
    const auto* response = root.findFirstName("response");
    const auto* prop = response ? response->findFirstXName("propstat/prop") : nullptr;
    const auto* type = prop ? prop->findFirstName("resourcetype") : nullptr;
    return type && type->findFirstName("collection");
}

} // namespace

FolderCheck::FolderCheck(Url url, std::shared_ptr<ASHttpConnectInfo> info)
    : url_(std::move(url)), info_(std::move(info))
{
}

bool FolderCheck::isRootFolder(std::string_view folderPath, const std::map<std::string, ASHttpCookie>& cookies)
{
    const auto folder = withSingleSlashes(folderPath);
    return std::any_of(cookies.begin(), cookies.end(),
                       [&](const auto& cookie) { return folder == withSlash(cookie.second.path); });
}

std::optional<std::string> FolderCheck::judge(int statusCode, std::string_view body)
{
    if (statusCode == 403) return "DENIED_ACCESS_FOLDER";
    if (statusCode == 404) return notFolder;
    if (statusCode != 207) return connectionError;
    ASXMLDomParser parser;
    parser.parse(body);
    if (parser.error() || !parser.rootElement()) return connectionError;
    if (!hasCollection(*parser.rootElement())) return notFolder;
    return std::nullopt;
}

std::optional<std::string> FolderCheck::run(const Running& running)
{
    if (url_.empty()) return connectionError;
    if (isRootFolder(url_.path(), info_->myCookies())) return "CANNOT_USE_ROOT_FOLDER";
    const auto command = std::make_shared<ASWDCmdPropFind>(url_.withTrailingSlash(), info_);
    command->setDepth(0);
    command->setRequestBody(requestBody());
    if (!running(command)) return connectionError;
    auto answer = ask(command);
    running(nullptr);
    return answer;
}

std::optional<std::string> FolderCheck::ask(const std::shared_ptr<ASWDCmdPropFind>& command)
{
    bool finished = false;
    const auto loop = RunLoop::current();
    command->setCompleteEventHandler([&] { finished = true; });
    if (!command->execute()) return connectionError;
    loop->runUntil([&] { return finished; });
    if (command->error() || !command->responseHeader()) return connectionError;
    return judge(command->statusCode(), command->responseBody());
}

} // namespace tidemark
