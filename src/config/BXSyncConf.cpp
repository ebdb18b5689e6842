#include "config/BXSyncConf.h"

#include "config/FolderCheck.h"
#include "config/LoginAttempt.h"
#include "davclient/ASWDCmd.h"
#include "platform/Digest.h"

namespace tidemark {

BXSyncConf::BXSyncConf() : BXSyncConf(std::make_shared<ASHttpConnectInfo>()) {}

BXSyncConf::BXSyncConf(std::shared_ptr<ASHttpConnectInfo> connectInfo)
    : info_(std::move(connectInfo)), identity_(makeUuid())
{
}

BXSyncConf::BXSyncConf(const PropertyList::Dictionary& dictionary) : BXSyncConf()
{
    readDictionary(dictionary);
}

int BXSyncConf::getOprate(std::string_view policy)
{
    if (policy == "delete") return 2;
    if (policy == "upload") return 3;
    if (policy == "download") return 4;
    if (policy == "none") return 6;
    return 0;
}

void BXSyncConf::setServerURL(const std::string& value)
{
    const auto parsed = Url::parse(value);
    url_ = parsed ? *parsed : Url();
    serverURL_ = parsed ? url_.absoluteString() : value;
}

void BXSyncConf::setSyncSchedules(std::vector<BXSyncSchedule> value)
{
    syncSchedules_ = BXSyncSchedule::sortSchedule(std::move(value));
}

std::optional<std::string> BXSyncConf::checkFolderURL()
{
    allowRequests();
    FolderCheck check(url_, info_);
    return check.run([this](const std::shared_ptr<ASWDCmd>& command) { return setRunningCommand(command); });
}

void BXSyncConf::login(LoginHandler loginHandler, SuccessHandler success, FailureHandler failure)
{
    allowRequests();
    std::make_shared<LoginAttempt>(shared_from_this(), std::move(loginHandler), std::move(success), std::move(failure))
        ->start();
}

void BXSyncConf::allowRequests()
{
    std::lock_guard lock(runningMutex_);
    requestsCancelled_ = false;
}

bool BXSyncConf::setRunningCommand(const std::shared_ptr<ASWDCmd>& command)
{
    std::lock_guard lock(runningMutex_);
    running_ = command;
    return !requestsCancelled_;
}

bool BXSyncConf::requestsCancelled()
{
    std::lock_guard lock(runningMutex_);
    return requestsCancelled_;
}

void BXSyncConf::cancelRequests()
{
    std::shared_ptr<ASWDCmd> command;
    {
        std::lock_guard lock(runningMutex_);
        requestsCancelled_ = true;
        command = running_.lock();
    }
    if (command) command->cancel();
}

} // namespace tidemark
