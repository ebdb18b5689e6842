#include "SyncLibrary/BXSyncServerFolder.h"

#include <algorithm>
#include <initializer_list>

#include "SyncLibrary/BXSyncRunReport.h"
#include "davclient/ASWDCmdPropBase.h"
#include "davclient/ASWDCmdSimple.h"
#include "davclient/ASXMLDomParser.h"

namespace tidemark {

namespace {

using Kind = BXSyncServerFolder::Kind;

std::string kindRequestBody()
{
    return std::string("<?xml version=\"1.0\" encoding=\"utf-8\" ?><D:propfind xmlns:D=\"DAV:\" xmlns:E=\"") +
           BXSyncUtils::propertyNamespace +
           "\"><D:prop><D:resourcetype/></D:prop>"
           "<D:include><D:supported-live-property-set/><D:supported-report-set/></D:include></D:propfind>";
}

/// How servers refuse to show a folder whose URL has no "/" at its end.
bool wantsOtherForm(int status)
{
    return status == 301 || status == 302 || status == 307 || status == 308 || status == 409;
}

Result<Kind> kindOf(const ASWDCmd& command)
{
    const auto& propfind = static_cast<const ASWDCmdPropFind&>(command);
    ASXMLDomParser parser;
    parser.parse(propfind.responseBody());
    if (parser.error() || !parser.rootElement())
        return failure(
            engineError("RETURN_STATUS_ERROR", "XML parse error. path:" + command.remoteURL().absoluteString()));
    const auto* type = parser.rootElement()->findFirstXName("response/propstat/prop/resourcetype");
    return type && type->findFirstName("collection") ? Kind::folder : Kind::file;
}

/// The status, which is one of those that count as success.
template <class Command>
Result<int> runSimple(BXSyncCommandRunning& runner, const BXSyncConf& conf, const Url& url,
                      std::initializer_list<int> successes)
{
    const auto done = runner.davConnect(
        [&] { return std::make_shared<Command>(url, conf.info()); },
        [&](ASWDCmd&, int status) { return std::ranges::find(successes, status) != successes.end(); });
    if (!done) return failure(done.error());
    return (*done)->statusCode();
}

Status withoutStatus(const Result<int>& done)
{
    if (!done) return failure(done.error());
    return {};
}

} // namespace

Url BXSyncServerFolder::urlOf(const std::string& pathname) const
{
    return spellings_ ? spellings_->urlOf(conf_.url(), pathname) : conf_.url().appendingPath(pathname);
}

Result<std::shared_ptr<ASWDCmd>> BXSyncServerFolder::askKind(const Url& url, bool acceptsOtherForm) const
{
    return runner_.davConnect(
        [&] {
            auto command = std::make_shared<ASWDCmdPropFind>(url, conf_.info());
            command->setDepth(0);
            command->setRequestBody(kindRequestBody());
            return command;
        },
        [&](ASWDCmd&, int status) {
            return status < 300 || status == 404 || (acceptsOtherForm && wantsOtherForm(status));
        });
}

Result<BXSyncServerFolder::Kind> BXSyncServerFolder::probe(const Url& url, bool folderExpected) const
{
    auto answer = askKind(folderExpected ? url.withTrailingSlash() : url.withoutTrailingSlash(), !folderExpected);
    if (answer && wantsOtherForm((*answer)->statusCode())) answer = askKind(url.withTrailingSlash(), false);
    if (!answer) return failure(answer.error());
    if ((*answer)->statusCode() == 404) return Kind::missing;
    return kindOf(**answer);
}

Status BXSyncServerFolder::makeFolder(const std::string& pathname) const
{
    const auto url = urlOf(pathname).withTrailingSlash();
    const auto made = runSimple<ASWDCmdMkCol>(runner_, conf_, url, {201, parentMissing});
    if (!made || *made == 201) return withoutStatus(made);
    if (auto parents = makeParents(pathname); !parents) return parents;
    return withoutStatus(runSimple<ASWDCmdMkCol>(runner_, conf_, url, {201}));
}

Status BXSyncServerFolder::makeParents(const std::string& pathname) const
{
    const auto parent = pathname.substr(0, pathname.rfind('/'));
    const auto kind = parent.empty() ? Result<Kind>(Kind::missing) : probe(urlOf(parent), true);
    if (!kind) return failure(kind.error());
    if (*kind == Kind::folder) return {};
    if (*kind == Kind::missing && !parent.empty()) return makeFolder(parent);
    return failure(engineError("SERVERFILE_OBSTRUCTED",
                               "The folder is missing on the server. path:" + urlOf(parent).displayString()));
}

Status BXSyncServerFolder::remove(const Url& url, bool isFolder) const
{
    const auto form = isFolder ? url.withTrailingSlash() : url.withoutTrailingSlash();
    return withoutStatus(runSimple<ASWDCmdDelete>(runner_, conf_, form, {204}));
}

Status BXSyncServerFolder::setProperties(const Url& url, const BXSyncUtils::PropertyMap& properties) const
{
    const auto body = BXSyncUtils::createProppatchXML(properties);
    if (!body) return {};
    const auto done = runner_.davConnect(
        [&] {
            auto command = std::make_shared<ASWDCmdPropPatch>(url, conf_.info());
            command->setRequestBody(*body);
            return command;
        },
        [](ASWDCmd&, int status) { return status >= 200 && status < 300; });
    if (!done) return failure(done.error());
    return {};
}

} // namespace tidemark
