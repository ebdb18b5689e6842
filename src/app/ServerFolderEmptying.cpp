#include "app/ServerFolderEmptying.h"

#include "SyncLibrary/BXSyncMultistatusReader.h"
#include "Utils/BXTidemarkUtils.h"
#include "davclient/ASPropertyNamespace.h"
#include "davclient/ASWDCmdPropBase.h"
#include "davclient/ASWDCmdSimple.h"
#include "platform/RunLoop.h"

namespace tidemark {

namespace {

constexpr const char* table = "TidemarkResource";

std::string resourceTypeBody()
{
    return std::string("<?xml version=\"1.0\" encoding=\"utf-8\" ?><D:propfind xmlns:D=\"DAV:\" xmlns:E=\"") +
           propertyNamespaceURI +
           "\"><D:prop><D:resourcetype/></D:prop>"
           "<D:include><D:supported-live-property-set/><D:supported-report-set/></D:include></D:propfind>";
}

} // namespace

ServerFolderEmptying::ServerFolderEmptying(std::shared_ptr<BXSyncConf> conf, BXSyncConf::LoginHandler loginHandler,
                                           ForgetState forgetState)
    : conf_(std::move(conf)), loginHandler_(std::move(loginHandler)), forgetState_(std::move(forgetState))
{
}

void ServerFolderEmptying::cancel()
{
    std::shared_ptr<ASWDCmd> running;
    {
        std::lock_guard lock(mutex_);
        cancelled_ = true;
        running = running_;
    }
    conf_->cancelRequests();
    if (running) running->cancel();
}

bool ServerFolderEmptying::isCancelled()
{
    std::lock_guard lock(mutex_);
    return cancelled_;
}

/// Runs one command on this thread; the status of its answer, 0 where there is none.
int ServerFolderEmptying::execute(const std::shared_ptr<ASWDCmd>& command)
{
    bool ended = false;
    command->setCompleteEventHandler([&ended] { ended = true; });
    {
        std::lock_guard lock(mutex_);
        if (cancelled_) return 0;
        running_ = command;
    }
    const bool begun = command->execute();
    if (begun) RunLoop::current()->runUntil([&ended] { return ended; });
    std::lock_guard lock(mutex_);
    running_ = nullptr;
    return !begun || command->error() ? 0 : command->statusCode();
}

bool ServerFolderEmptying::run()
{
    if (!login()) {
        if (isCancelled()) return false;
        BXTidemarkUtils::showErrorAlert("CONNECTION_ERROR");
        return false;
    }
    if (!forgetState_()) return false;
    const auto entries = list();
    if (isCancelled()) return false;
    if (!entries) {
        BXTidemarkUtils::showSelectAlert("PROPFIND_LIST_ERROR_CONFIRM", "ERROR", {"OK"}, AlertStyle::critical, {});
        return false;
    }
    return deleteEntries(*entries);
}

bool ServerFolderEmptying::login()
{
    std::optional<bool> success;
    conf_->login(
        loginHandler_, [&success] { success = true; }, [&success](bool) { success = false; });
    RunLoop::current()->runUntil([&success] { return success.has_value(); });
    return *success;
}

std::optional<std::vector<Url>> ServerFolderEmptying::list()
{
    auto command = std::make_shared<ASWDCmdPropFind>(conf_->url().withTrailingSlash(), conf_->info());
    command->setDepth(1);
    command->setRequestBody(resourceTypeBody());
    if (execute(command) != 207) return std::nullopt;
    const auto listing =
        BXSyncMultistatusReader(conf_->url(), conf_->marlockVersion()).read(command->responseBody(), false);
    if (!listing) return std::nullopt;
    std::vector<Url> entries;
    for (const auto& item : listing->items) {
        const auto url = Url::parse(item.path);
        if (!url) return std::nullopt;
        entries.push_back(item.isFolder ? url->withTrailingSlash() : *url);
    }
    return entries;
}

bool ServerFolderEmptying::deleteEntries(const std::vector<Url>& entries)
{
    for (const auto& entry : entries) {
        auto command = std::make_shared<ASWDCmdDelete>(entry, conf_->info());
        if (execute(command) == 204) continue;
        if (isCancelled()) return false;
        const int answer =
            BXTidemarkUtils::showSelectAlert("FILEDELETE_ERROR_CONFIRM", "ERROR", {"NO", "YES"}, AlertStyle::critical,
                                             table, {{"filename", entry.displayString()}});
        if (answer == 0) return false;
    }
    return true;
}

} // namespace tidemark
