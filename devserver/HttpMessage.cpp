#include "devserver/HttpMessage.h"

#include "devserver/RequestRecord.h"
#include "devserver/Text.h"

#include <algorithm>
#include <array>
#include <map>

namespace devserver {

std::optional<std::string_view> findHeader(const HeaderList& headers, std::string_view name)
{
    const auto found =
        std::ranges::find_if(headers, [&](auto& header) { return equalIgnoringCase(header.first, name); });
    if (found == headers.end()) return std::nullopt;
    return found->second;
}

void setHeader(HeaderList& headers, std::string_view name, std::string value)
{
    std::erase_if(headers, [&](auto& header) { return equalIgnoringCase(header.first, name); });
    headers.emplace_back(name, std::move(value));
}

std::optional<std::string> RequestRecord::header(std::string_view name) const
{
    const auto value = findHeader(headers, name);
    return value ? std::optional(std::string(*value)) : std::nullopt;
}

std::optional<std::string_view> Request::header(std::string_view name) const
{
    return findHeader(headers, name);
}

void Response::set(std::string_view name, std::string value)
{
    setHeader(headers, name, std::move(value));
}

std::uint64_t Response::bodyLength() const
{
    if (const auto* range = std::get_if<FileRange>(&body)) return range->length;
    return std::get<std::string>(body).size();
}

std::string_view reasonPhrase(int status)
{
    static const std::map<int, std::string_view> phrases = {{200, "OK"},
                                                            {201, "Created"},
                                                            {204, "No Content"},
                                                            {206, "Partial Content"},
                                                            {207, "Multi-Status"},
                                                            {301, "Moved Permanently"},
                                                            {302, "Found"},
                                                            {304, "Not Modified"},
                                                            {307, "Temporary Redirect"},
                                                            {400, "Bad Request"},
                                                            {401, "Unauthorized"},
                                                            {403, "Forbidden"},
                                                            {404, "Not Found"},
                                                            {405, "Method Not Allowed"},
                                                            {407, "Proxy Authentication Required"},
                                                            {408, "Request Timeout"},
                                                            {409, "Conflict"},
                                                            {412, "Precondition Failed"},
                                                            {413, "Payload Too Large"},
                                                            {414, "URI Too Long"},
                                                            {415, "Unsupported Media Type"},
                                                            {416, "Range Not Satisfiable"},
                                                            {422, "Unprocessable Entity"},
                                                            {423, "Locked"},
                                                            {424, "Failed Dependency"},
                                                            {431, "Request Header Fields Too Large"},
                                                            {500, "Internal Server Error"},
                                                            {501, "Not Implemented"},
                                                            {502, "Bad Gateway"},
                                                            {503, "Service Unavailable"},
                                                            {504, "Gateway Timeout"},
                                                            {507, "Insufficient Storage"}};
    const auto found = phrases.find(status);
    return found == phrases.end() ? "Status" : found->second;
}

Response plainResponse(int status)
{
    Response response;
    response.status = status;
    if (status == 204 || status == 304) return response;
    response.set("Content-Type", "text/plain; charset=utf-8");
    response.body = std::to_string(status) + " " + std::string(reasonPhrase(status)) + "\n";
    return response;
}

std::optional<std::string> readAll(BodySource& body, std::size_t limit)
{
    std::string text;
    std::array<char, 16384> buffer{};
    while (const std::size_t size = body.read(buffer)) {
        if (text.size() + size > limit) return std::nullopt;
        text.append(buffer.data(), size);
    }
    return text;
}

void drain(BodySource& body)
{
    std::array<char, 65536> buffer{};
    while (body.read(buffer) > 0) {
    }
}

} // namespace devserver
