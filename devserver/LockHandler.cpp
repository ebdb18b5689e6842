#include "devserver/LockHandler.h"

#include "devserver/LiveProperties.h"
#include "devserver/RequestXml.h"
#include "devserver/Text.h"

#include <algorithm>

namespace devserver {

namespace {

constexpr std::chrono::seconds longestTimeout(3600);

std::chrono::seconds timeoutOf(const Request& request)
{
    for (const auto choice : split(request.header("Timeout").value_or(""), ','))
        if (const auto text = trimmed(choice); text.starts_with("Second-"))
            if (const auto seconds = parseNumber(text.substr(7)))
                return std::min(longestTimeout, std::chrono::seconds(std::min<std::uint64_t>(*seconds, 3600)));
    return longestTimeout;
}

Response discoveryResponse(int status, const Lock& lock)
{
    Response response;
    response.status = status;
    response.set("Content-Type", "application/xml; charset=utf-8");
    response.body = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<D:prop xmlns:D=\"DAV:\"><D:lockdiscovery>" +
                    lockDiscovery({lock}) + "</D:lockdiscovery></D:prop>\n";
    return response;
}

} // namespace

Response LockHandler::lock(const Request& request, const Resource& resource, BodySource& body) const
{
    const auto text = readAll(body, 65536);
    if (!text) return plainResponse(413);
    if (trimmed(*text).empty()) return refresh(request, resource);
    const auto query = parseLockInfo(*text);
    if (!query) return plainResponse(400);
    if (!resource.status && (resource.slash || !site_.parentExists(resource))) return plainResponse(409);
    Lock wanted;
    wanted.path = resource.path;
    wanted.deep = request.header("Depth").value_or("infinity") != "0";
    wanted.exclusive = query->exclusive;
    wanted.owner = query->owner;
    wanted.timeout = timeoutOf(request);
    const auto lock = site_.locks.acquire(wanted);
    if (!lock) return plainResponse(423);
    if (!resource.status) PartialFile(resource.file).commit(); // a lock on nothing reserves the name with an empty file
    Response response = discoveryResponse(resource.status ? 200 : 201, *lock);
    response.set("Lock-Token", "<" + lock->token + ">");
    return response;
}

Response LockHandler::refresh(const Request& request, const Resource& resource) const
{
    const auto lock = site_.locks.refresh(resource.path, request.header("If").value_or(""), timeoutOf(request));
    return lock ? discoveryResponse(200, *lock) : plainResponse(412);
}

Response LockHandler::unlock(const Request& request, const Resource& resource) const
{
    std::string_view token = trimmed(request.header("Lock-Token").value_or(""));
    if (!token.starts_with('<') || !token.ends_with('>')) return plainResponse(400);
    token = token.substr(1, token.size() - 2);
    return site_.locks.release(resource.path, token) ? plainResponse(204) : plainResponse(409);
}

} // namespace devserver
