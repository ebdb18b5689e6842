#include "devserver/ResponseWriter.h"

#include "devserver/HttpDate.h"
#include "devserver/Text.h"

#include <algorithm>
#include <vector>

namespace devserver {

namespace {

constexpr std::size_t pieceSize = 256 * 1024;

bool hasNoBody(int status)
{
    return status == 204 || status == 304 || status < 200;
}

void truncate(Response& response, std::uint64_t bytes)
{
    if (auto* range = std::get_if<FileRange>(&response.body))
        range->length = std::min(range->length, bytes);
    else if (auto& text = std::get<std::string>(response.body); text.size() > bytes)
        text.resize(bytes);
}

// Calls `use` with one piece of the body after the other, up to `limit` bytes.
template <class Use>
void forEachPiece(const Response& response, std::uint64_t limit, Use use)
{
    if (const auto* text = std::get_if<std::string>(&response.body)) {
        const auto size = std::min<std::uint64_t>(text->size(), limit);
        if (size > 0) use(std::string_view(*text).substr(0, size));
        return;
    }
    const auto& range = std::get<FileRange>(response.body);
    const std::uint64_t length = std::min(range.length, limit);
    std::vector<char> buffer(std::min<std::uint64_t>(pieceSize, std::max<std::uint64_t>(length, 1)));
    for (std::uint64_t done = 0; done < length;) {
        const auto wanted = std::min<std::uint64_t>(buffer.size(), length - done);
        const std::size_t size = range.file.readAt(std::span(buffer).first(wanted), range.offset + done);
        if (size == 0) throw ConnectionLost("the file became shorter");
        use(std::string_view(buffer.data(), size));
        done += size;
    }
}

} // namespace

void stall(Transport& transport, const std::function<bool()>& released)
{
    transport.stall(released);
    throw ConnectionLost("stalled");
}

bool ResponseWriter::write(Response& response, bool keepAlive)
{
    changeBody(response);
    const bool close = !keepAlive || framing() == Framing::Close;
    std::string text = plan_.rawHeader ? *plan_.rawHeader : head(response, close);
    if (plan_.stall && plan_.stall->place == fault::StallPlace::InResponseHeader) {
        transport_.write(std::string_view(text).substr(0, text.find("\r\n") + 6));
        stall(transport_, plan_.released);
    }
    if (response.lengthOnly || hasNoBody(response.status))
        transport_.write(text);
    else if (framing() == Framing::Chunks)
        writeChunks(response, std::move(text));
    else
        writeBody(response, std::move(text));
    return !close && !plan_.closeAfter;
}

void ResponseWriter::changeBody(Response& response) const
{
    if (plan_.replaceBody) response.body = *plan_.replaceBody;
    if (plan_.truncateBody) truncate(response, *plan_.truncateBody);
    for (const auto& header : plan_.headers) {
        if (header.replace)
            response.set(header.name, header.value);
        else
            response.headers.emplace_back(header.name, header.value);
    }
    for (const auto& huge : plan_.hugeHeaders)
        for (std::size_t i = 0; i < huge.count; ++i)
            response.headers.emplace_back("X-Padding-" + std::to_string(i), std::string(huge.bytes, 'x'));
}

ResponseWriter::Framing ResponseWriter::framing() const
{
    if (plan_.brokenChunks) return Framing::Chunks;
    return plan_.endless || plan_.noContentLength ? Framing::Close : Framing::Length;
}

std::string ResponseWriter::head(const Response& response, bool close) const
{
    std::string text = "HTTP/1.1 " + std::to_string(response.status) + " " +
                       std::string(reasonPhrase(response.status)) + "\r\nDate: " + httpDate(std::time(nullptr)) +
                       "\r\n";
    for (const auto& [name, value] : response.headers)
        text += name + ": " + value + "\r\n";
    const bool given = findHeader(response.headers, "Content-Length").has_value();
    switch (framing()) {
    case Framing::Chunks:
        text += "Transfer-Encoding: chunked\r\n";
        break;
    case Framing::Length:
        if (given || hasNoBody(response.status)) break;
        text += "Content-Length: " +
                std::to_string(plan_.contentLength.value_or(response.lengthOnly.value_or(response.bodyLength()))) +
                "\r\n";
        break;
    case Framing::Close:
        break;
    }
    text += close ? "Connection: close\r\n\r\n" : "Connection: keep-alive\r\n\r\n";
    return text;
}

void ResponseWriter::writeBody(const Response& response, std::string head)
{
    const bool stalls = plan_.stall && plan_.stall->place == fault::StallPlace::InResponseBody;
    std::uint64_t limit = plan_.cutResponse.value_or(UINT64_MAX);
    if (stalls) limit = std::min(limit, plan_.stall->afterBytes);
    // A short body goes out together with the header.
    const auto* text = std::get_if<std::string>(&response.body);
    if (text != nullptr && text->size() <= std::min<std::uint64_t>(limit, pieceSize)) {
        onBodyBytes_(text->size());
        transport_.write(head + *text);
    } else {
        transport_.write(head);
        forEachPiece(response, limit, [&](std::string_view piece) { send(piece); });
    }
    if (plan_.endless) writeEndless();
    if (stalls) stall(transport_, plan_.released);
    if (plan_.cutResponse) throw ConnectionLost("cut");
}

void ResponseWriter::writeChunks(const Response& response, std::string head)
{
    transport_.write(head);
    forEachPiece(response, pieceSize, [&](std::string_view piece) {
        char size[24];
        std::snprintf(size, sizeof size, "%zx\r\n", piece.size());
        send(size + std::string(piece) + "\r\n");
    });
    transport_.write("zz\r\n");
    throw ConnectionLost("broken chunks");
}

void ResponseWriter::writeEndless()
{
    std::string piece;
    while (piece.size() < 65536 && !plan_.endless->repeat.empty())
        piece += plan_.endless->repeat;
    const std::uint64_t total = plan_.endless->totalBytes == 0 ? UINT64_MAX : plan_.endless->totalBytes;
    for (std::uint64_t sent = 0; sent < total && !piece.empty();) {
        const auto size = std::min<std::uint64_t>(piece.size(), total - sent);
        send(std::string_view(piece).substr(0, size));
        sent += size;
    }
}

void ResponseWriter::send(std::string_view bodyBytes)
{
    onBodyBytes_(bodyBytes.size());
    transport_.write(bodyBytes);
}

} // namespace devserver
