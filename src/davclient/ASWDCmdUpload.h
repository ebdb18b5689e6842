#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "davclient/ASWDCmdBase.h"
#include "platform/Dates.h"
#include "platform/Streams.h"

namespace tidemark {

/// A command whose request body is streamed: requestBody(), or the file at filePath() of fileLength() bytes, encrypted
/// where there is a key. sentBytes() is -1 for a whole upload, or the number of bytes that the server has already.
class ASWDCmdUploadBase : public ASWDCmdBase
{
public:
    explicit ASWDCmdUploadBase(Url remoteURL, std::shared_ptr<ASHttpConnectInfo> connectInfo = nullptr);

    const std::optional<std::string>& requestBody() const { return requestBody_; }
    void setRequestBody(std::optional<std::string> body) { requestBody_ = std::move(body); }
    const std::string& filePath() const { return filePath_; }
    void setFilePath(std::string path) { filePath_ = std::move(path); }
    std::int64_t fileLength() const { return fileLength_; }
    void setFileLength(std::int64_t bytes) { fileLength_ = bytes; }
    const std::string& encryptKey() const { return encryptKey_; }
    void setEncryptKey(std::string key) { encryptKey_ = std::move(key); }
    /// Length of the whole resource as it goes to the server.
    std::uint64_t contentLength() const { return contentLength_; }

    /// Off for servers that take a whole upload with "Content-Range" for a part of a file; on at first.
    bool sendsContentRange() const { return sendsContentRange_; }
    void setSendsContentRange(bool value) { sendsContentRange_ = value; }

protected:
    bool connect() override;

private:
    bool readyForStream();
    std::uint64_t skippedBytes() const;
    std::unique_ptr<InputStream> makeRequestStream() const;
    void setupContentLength();
    void setRangeHeaders();

    std::shared_ptr<InputStream> requestStream_;
    std::uint64_t contentLength_ = 0;
    std::optional<std::string> requestBody_;
    std::string filePath_;
    std::int64_t fileLength_ = 0;
    std::string encryptKey_;
    bool sendsContentRange_ = true;
};

class ASWDCmdPost : public ASWDCmdUploadBase
{
public:
    using ASWDCmdUploadBase::ASWDCmdUploadBase;
    std::string protocol() const override { return "POST"; }
};

class ASWDCmdPut : public ASWDCmdUploadBase
{
public:
    using ASWDCmdUploadBase::ASWDCmdUploadBase;
    std::string protocol() const override { return "PUT"; }

    /// Sent as "X-BX-CreationDate" and "X-BX-LastModified", each only when set.
    std::optional<dates::Time> creationDate() const { return creationDate_; }
    void setCreationDate(std::optional<dates::Time> date) { creationDate_ = date; }
    std::optional<dates::Time> modifiedDate() const { return modifiedDate_; }
    void setModifiedDate(std::optional<dates::Time> date) { modifiedDate_ = date; }

    bool execute() override;

private:
    std::optional<dates::Time> creationDate_;
    std::optional<dates::Time> modifiedDate_;
};

} // namespace tidemark
