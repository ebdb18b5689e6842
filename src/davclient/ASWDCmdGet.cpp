#include "davclient/ASWDCmdGet.h"

#include <charconv>

#include "Logger/BXLogger.h"
#include "davclient/ASWDCmdBase.h"
#include "platform/Dates.h"
#include "platform/FileSystem.h"
#include "security/BXSyncAESOutputStream.h"

namespace tidemark {

namespace {

constexpr const char* creationDateAttribute = "marlock.tidemark.creationdate";

bool isSuccess(const HttpResponseHead& response)
{
    return response.statusCode >= 200 && response.statusCode <= 299;
}

/// What "bytes FIRST-LAST/LENGTH" names; a length of "*" is not known.
struct ContentRange
{
    std::int64_t first = 0;
    std::int64_t last = 0;
    std::optional<std::int64_t> length;
};

std::optional<std::int64_t> takeNumber(std::string_view& text)
{
    std::int64_t value = 0;
    const auto parsed = std::from_chars(text.data(), text.data() + text.size(), value);
    if (parsed.ec != std::errc()) return std::nullopt;
    text.remove_prefix(static_cast<std::size_t>(parsed.ptr - text.data()));
    return value;
}

bool takeText(std::string_view& text, std::string_view expected)
{
    if (!text.starts_with(expected)) return false;
    text.remove_prefix(expected.size());
    return true;
}

std::optional<ContentRange> contentRange(std::string_view text)
{
    if (!takeText(text, "bytes ")) return std::nullopt;
    const auto first = takeNumber(text);
    if (!first || !takeText(text, "-")) return std::nullopt;
    const auto last = takeNumber(text);
    if (!last || !takeText(text, "/")) return std::nullopt;
    if (text == "*") return ContentRange{*first, *last, std::nullopt};
    const auto length = takeNumber(text);
    return length && text.empty() ? std::optional(ContentRange{*first, *last, length}) : std::nullopt;
}

} // namespace

bool ASWDCmdGetStream::execute()
{
    responseStream_.reset();
    opened_ = false;
    memory_->clear();
    return ASWDCmd::execute();
}

bool ASWDCmdGetStream::handleBytes(ASHttpConnection& connection, std::span<const std::byte> bytes)
{
    const HttpResponseHead* response = connection.responseHeader();
    if (!response || !isSuccess(*response)) return true;
    if (!openFor(*response)) return false;
    return responseStream_->write(bytes) || failWriting();
}

void ASWDCmdGetStream::didReceiveResponse(ASHttpConnection&, const HttpResponseHead& response)
{
    if (!isSuccess(response)) {
        closeResponseStream();
        return fireCompleted();
    }
    if (!openFor(response) || !closeResponseStream()) {
        setErrorFromConnection(*connection());
        return fireError();
    }
    didStoreResponse(response);
    fireCompleted();
}

bool ASWDCmdGetStream::openFor(const HttpResponseHead& response)
{
    if (responseStream_) return true;
    if (auto reason = refusal(response)) {
        refuseResponse(std::move(*reason));
        return false;
    }
    responseStream_ = generateStream(response);
    const bool opened = responseStream_->open();
    opened_ = opened_ || opened;
    return opened || failWriting();
}

bool ASWDCmdGetStream::closeResponseStream()
{
    if (!responseStream_ || responseStream_->streamStatus() == StreamStatus::closed) return true;
    return responseStream_->close() || failWriting();
}

bool ASWDCmdGetStream::failWriting()
{
    const Error* reason = responseStream_->streamError();
    refuseResponse("Writing " + targetName() + " failed" + (reason ? ": " + reason->description() : "."));
    return false;
}

std::unique_ptr<OutputStream> ASWDCmdGetStream::generateStream(const HttpResponseHead&)
{
    return makeMemoryOutputStream(memory_);
}

void ASWDCmdGetStream::didFailToPassAuthenticationChallenge(ASHttpConnection& connection,
                                                            const ASHttpAuthentication& authentication)
{
    closeResponseStream();
    ASWDCmd::didFailToPassAuthenticationChallenge(connection, authentication);
}

void ASWDCmdGetStream::connectionDidFailToEstablish(ASHttpConnection& connection)
{
    closeResponseStream();
    ASWDCmd::connectionDidFailToEstablish(connection);
}

void ASWDCmdGetStream::interruptedConnection(ASHttpConnection& connection)
{
    closeResponseStream();
    ASWDCmd::interruptedConnection(connection);
}

bool ASWDCmdGet::execute()
{
    rangeStart_.reset();
    requestHeader().remove("Range");
    if (sentBytes() > 0 && encryptKey_.empty()) {
        if (const auto present = fs::attributes(localFile_)) rangeStart_ = present->size;
    }
    if (rangeStart_) requestHeader().set("Range", "bytes " + std::to_string(*rangeStart_) + "-");
    return ASWDCmdGetStream::execute();
}

void ASWDCmdGet::didReceiveResponse(ASHttpConnection& connection, const HttpResponseHead& response)
{
    if (response.statusCode == 416 && rangeStart_) return restart(connection);
    ASWDCmdGetStream::didReceiveResponse(connection, response);
}

void ASWDCmdGet::restart(ASHttpConnection& connection)
{
    const auto self = weak_from_this().lock();
    setSentBytes(0);
    rangeStart_.reset();
    requestHeader().remove("Range");
    connection.setHeaderField("Range", std::nullopt);
    if (connect()) return;
    if (executedHandler() || this->connection().get() != &connection) return;
    setErrorFromConnection(connection);
    fireError();
}

std::unique_ptr<OutputStream> ASWDCmdGet::generateStream(const HttpResponseHead& response)
{
    BXLogger::getLogger()->debug("{}", localFile_);
    if (!encryptKey_.empty()) return std::make_unique<BXSyncAESOutputStream>(localFile_, encryptKey_, true);
    const bool continues = sentBytes() > 0 && rangeStart_ && response.statusCode == 206;
    if (!continues) setSentBytes(0);
    return makeBufferedFileOutputStream(localFile_, continues);
}

std::optional<std::string> ASWDCmdGet::refusal(const HttpResponseHead& response) const
{
    if (response.statusCode != 206) return std::nullopt;
    const auto range = contentRange(response.header.value("Content-Range").value_or(""));
    // A part that ends before the file does would pass for its end.
    const bool reachesEnd = range && (!range->length || range->last + 1 == *range->length);
    if (rangeStart_ && reachesEnd && range->first == *rangeStart_) return std::nullopt;
    return "The server sent another part of the file than was asked for.";
}

void ASWDCmdGet::didStoreResponse(const HttpResponseHead& response)
{
    const auto created = dates::parseIsoDate(response.header.value("X-BX-CreationDate").value_or(""));
    if (created) fs::setExtendedAttribute(localFile_, creationDateAttribute, dates::formatIsoDate(*created));
    const auto modified = dates::parseHttpDate(response.header.value("Last-Modified").value_or(""));
    if (modified) fs::setModified(localFile_, dates::toSeconds(*modified));
}

} // namespace tidemark
