#pragma once

#include <memory>
#include <string>

#include "davclient/ASWDCmd.h"
#include "platform/Streams.h"

namespace tidemark {

/// GET with the body of a 2xx response written to an output stream (in memory here); other bodies are dropped. The
/// stream is opened when the first such byte or the end of such a response has come.
class ASWDCmdGetStream : public ASWDCmd
{
public:
    using ASWDCmd::ASWDCmd;

    std::string protocol() const override { return "GET"; }
    /// Null until a 2xx response has come.
    OutputStream* responseStream() const { return responseStream_.get(); }
    /// Its target may have been changed; where opening failed it is what it was.
    bool hasOpenedStream() const { return opened_; }
    /// What a memory stream has taken.
    const std::string& responseBody() const { return *memory_; }

    bool execute() override;
    bool handleBytes(ASHttpConnection&, std::span<const std::byte> bytes) override;
    void didReceiveResponse(ASHttpConnection&, const HttpResponseHead&) override;
    void didFailToPassAuthenticationChallenge(ASHttpConnection&, const ASHttpAuthentication&) override;
    void connectionDidFailToEstablish(ASHttpConnection&) override;
    void interruptedConnection(ASHttpConnection&) override;

protected:
    virtual std::unique_ptr<OutputStream> generateStream(const HttpResponseHead& response);
    /// Why a 2xx response is not what was asked for; nothing when it is.
    virtual std::optional<std::string> refusal(const HttpResponseHead&) const { return std::nullopt; }
    /// The stream has been closed after a 2xx response.
    virtual void didStoreResponse(const HttpResponseHead&) {}
    virtual std::string targetName() const { return "memory"; }

private:
    /// Opens the stream for a response unless it is open; false with a reason noted.
    bool openFor(const HttpResponseHead& response);
    bool closeResponseStream();
    /// Notes what the stream says went wrong; false.
    bool failWriting();

    std::unique_ptr<OutputStream> responseStream_;
    bool opened_ = false;
    std::shared_ptr<std::string> memory_ = std::make_shared<std::string>();
};

/// Download into a local file. The file is touched only once a 2xx response is there, and its modification date becomes
/// the response's "Last-Modified"; "X-BX-CreationDate" is kept as the extended attribute
/// "marlock.tidemark.creationdate", since a creation date cannot be set on this system.
///
/// sentBytes() > 0 asks for a resume: without a key the range from the file's present size on is asked for, and a 206
/// that begins there is appended; a 200 starts over. With a key the download starts over. A 416 restarts it from the
/// first byte in the same execution.
class ASWDCmdGet : public ASWDCmdGetStream
{
public:
    using ASWDCmdGetStream::ASWDCmdGetStream;

    /// Local path.
    const std::string& localFile() const { return localFile_; }
    void setLocalFile(std::string path) { localFile_ = std::move(path); }
    /// Not empty: the body is decrypted.
    const std::string& encryptKey() const { return encryptKey_; }
    void setEncryptKey(std::string key) { encryptKey_ = std::move(key); }

    bool execute() override;
    void didReceiveResponse(ASHttpConnection&, const HttpResponseHead&) override;

protected:
    std::unique_ptr<OutputStream> generateStream(const HttpResponseHead& response) override;
    std::optional<std::string> refusal(const HttpResponseHead& response) const override;
    void didStoreResponse(const HttpResponseHead& response) override;
    std::string targetName() const override { return localFile_; }

private:
    void restart(ASHttpConnection& connection);

    std::string localFile_;
    std::string encryptKey_;
    std::optional<std::int64_t> rangeStart_;
};

} // namespace tidemark
