#include "SyncedClient.h"

#include "SyncLibrary/BXSyncInspectFile.h"
#include "SyncLibrary/BXSyncManager.h"
#include "SyncLibrary/BXSyncUtils.h"
#include "Wire.h"
#include "davclient/ASWDCmdPropBase.h"
#include "davclient/ASWDCmdSimple.h"
#include "davclient/ASWDCmdUpload.h"
#include "platform/RunLoop.h"

namespace tidemark::testing {

std::optional<BXSyncConfirmResult> FixedAnswer::confirm(const BXSyncConfirmInfo& info)
{
    questions_.push_back(info.message);
    if (!code_) return std::nullopt;
    return BXSyncConfirmResult{*code_, true};
}

SyncedClient::SyncedClient(const ApacheServer& server, const std::string& folder)
    : conf_(std::make_shared<BXSyncConf>(connectInfoFor(server)))
{
    conf_->setName("integration");
    conf_->setServerURL(server.url(folder));
    conf_->setLocalPath(local_.root());
    conf_->setSyncinfoPath(state_.path("integration.psi"));
}

bool SyncedClient::login()
{
    std::optional<bool> signedIn;
    conf_->login(
        nullptr, [&] { signedIn = true; }, [&](bool) { signedIn = false; });
    RunLoop::current()->runUntil([&] { return signedIn.has_value(); });
    return *signedIn;
}

SyncRun SyncedClient::run(BXSyncConfirmDelegate* delegate)
{
    if (!login()) return {BXSyncRunOutcome::connectionFailed, {}};
    BXSyncManager manager(conf_, true, {nullptr, [] { return BXSyncReconnectRule{false, 0, 0}; }});
    manager.setConfirmDelegate(delegate);
    manager.startSync()->join();
    SyncRun run{manager.outcome(), {}};
    for (const BXSyncFileDataInfo* item : manager.modifiedItems())
        run.items[item->fileData.fileName] = item->state;
    return run;
}

std::map<std::string, double> SyncedClient::records() const
{
    BXSyncInspectFile stored;
    EXPECT_TRUE(stored.readSyncInfo(conf_->syncinfoPath()));
    std::map<std::string, double> times;
    for (const BXSyncFileDataInfo& record : stored.fileUpdate())
        times[record.fileData.fileName] = record.fileData.dateLastModified;
    return times;
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
