#include "davclient/ASWDCmdUpload.h"

#include <algorithm>

#include "Logger/BXLogger.h"
#include "davclient/ASOffsetInputStream.h"
#include "davclient/ASSteadyInputStream.h"
#include "security/BXSyncAESInputStream.h"

namespace tidemark {

ASWDCmdUploadBase::ASWDCmdUploadBase(Url remoteURL, std::shared_ptr<ASHttpConnectInfo> connectInfo)
    : ASWDCmdBase(std::move(remoteURL), std::move(connectInfo))
{
    setSentBytes(-1);
}

bool ASWDCmdUploadBase::connect()
{
    if (!readyForStream()) return false;
    const std::uint64_t left = contentLength_ - skippedBytes();
    if (left > 0) return connection()->openStreamWithRequestBodyStream(requestStream_, left);
    connection()->setHeaderField("Content-Length", "0");
    return connection()->openStream();
}

bool ASWDCmdUploadBase::readyForStream()
{
    if (!requestBody_ && filePath_.empty()) {
        BXLogger::getLogger()->debug("error ASWDCmdUploadBase.requestBody == nil");
        return false;
    }
    setupContentLength();
    const std::uint64_t skipped = skippedBytes();
    if (skipped > contentLength_) {
        BXLogger::getLogger()->debug(ASOffsetInputStream::readErrorText);
        return false;
    }
    auto source = makeRequestStream();
    if (skipped == 0)
        requestStream_ = std::move(source);
    else
        requestStream_ = std::make_shared<ASOffsetInputStream>(std::move(source), skipped);
    if (requestStream_->open()) return true;
    if (skipped == 0) setError(requestStreamNotCreated, "The file to upload cannot be read: " + filePath_);
    return false;
}

std::uint64_t ASWDCmdUploadBase::skippedBytes() const
{
    return static_cast<std::uint64_t>(std::max<std::int64_t>(sentBytes(), 0));
}

std::unique_ptr<InputStream> ASWDCmdUploadBase::makeRequestStream() const
{
    if (requestBody_) return makeMemoryInputStream(std::make_shared<const std::string>(*requestBody_));
    std::unique_ptr<InputStream> file;
    if (encryptKey_.empty())
        file = makeFileInputStream(filePath_);
    else
        file = std::make_unique<BXSyncAESInputStream>(filePath_, encryptKey_, false);
    return std::make_unique<ASSteadyInputStream>(std::move(file), filePath_, contentLength_, fileLength_);
}

void ASWDCmdUploadBase::setupContentLength()
{
    const std::int64_t length = std::max<std::int64_t>(fileLength_, 0);
    if (requestBody_)
        contentLength_ = requestBody_->size();
    else if (encryptKey_.empty())
        contentLength_ = static_cast<std::uint64_t>(length);
    else
        contentLength_ = static_cast<std::uint64_t>(BXSyncAESInputStream::encryptedLength(length));
    setRangeHeaders();
}

void ASWDCmdUploadBase::setRangeHeaders()
{
    const auto current = connection();
    if (contentLength_ == 0) return;
    const std::string end = std::to_string(contentLength_ - 1) + "/" + std::to_string(contentLength_);
    if (sentBytes() >= 0) {
        current->setHeaderField("X-BX-ENABLE-RESUME", "");
        current->setHeaderField("Content-Range", "bytes " + std::to_string(sentBytes()) + "-" + end);
    } else if (sendsContentRange_) {
        current->setHeaderField("Content-Range", "bytes 0-" + end);
    }
}

bool ASWDCmdPut::execute()
{
    if (modifiedDate_) requestHeader().set("X-BX-LastModified", dates::formatHttpDate(*modifiedDate_));
    if (creationDate_) requestHeader().set("X-BX-CreationDate", dates::formatHttpDate(*creationDate_));
    return ASWDCmdUploadBase::execute();
}

} // namespace tidemark
