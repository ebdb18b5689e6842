#include "ApacheFolder.h"

#include "SyncLibrary/BXSyncUtils.h"
#include "davclient/ASWDCmdPropBase.h"
#include "davclient/ASWDCmdSimple.h"
#include "davclient/ASWDCmdUpload.h"

namespace tidemark::testing {

ApacheClient::ApacheClient(const ApacheServer& server, const std::string& folder) : SyncClient(server.url(folder))
{
    copyCredentials(server, *conf->info());
    errorskip = true;
    reconnect.reconnect = false;
}

ServerFolder::ServerFolder(const ApacheServer& server, const std::string& name)
    : server_(server), path_("/" + name + "/"), info_(connectInfoFor(server))
{
    makeFolder("");
}

void ServerFolder::write(const std::string& relative, const std::string& content, double time) const
{
    const Url url = urlOf(server_.url(path_ + relative));
    auto put = std::make_shared<ASWDCmdPut>(url, info_);
    put->setSendsContentRange(false);
    put->setRequestBody(content);
    EXPECT_LT(carryOut(put)->statusCode(), 300);
    auto patch = std::make_shared<ASWDCmdPropPatch>(url, info_);
    const std::string date = BXSyncUtils::lastmodifiedDateStringFromDate(dates::fromSeconds(time));
    patch->setRequestBody(BXSyncUtils::createProppatchXML({{"SyncDate", date}}).value());
    EXPECT_EQ(outcomeOf(*carryOut(patch)), "207");
}

void ServerFolder::remove(const std::string& relative) const
{
    EXPECT_EQ(outcomeOf(*send<ASWDCmdDelete>(server_.url(path_ + relative), info_)), "204");
}

void ServerFolder::makeFolder(const std::string& relative) const
{
    EXPECT_EQ(outcomeOf(*send<ASWDCmdMkCol>(server_.url(path_ + relative), info_)), "201");
}

test::Tree ServerFolder::tree() const
{
    test::Tree tree = test::readTree((server_.root() / path_.substr(1, path_.size() - 2)).string());
    std::erase_if(tree, [](const auto& entry) { return ("/" + entry.first).find("/.DAV") != std::string::npos; });
    return tree;
}

} // namespace tidemark::testing
