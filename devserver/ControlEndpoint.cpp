#include "devserver/ControlEndpoint.h"

#include "devserver/Text.h"

namespace devserver {

namespace {

constexpr std::string_view prefix = "/.devserver/";

} // namespace

bool ControlEndpoint::isFor(const Request& request)
{
    return request.path.starts_with(prefix);
}

Response ControlEndpoint::answer(const Request& request, BodySource& body) const
{
    const std::string what = request.method + " " + request.path.substr(prefix.size());
    if (what == "POST fault") return addFaults(body);
    if (what == "GET requests") return listRequests();
    if (what == "DELETE fault") {
        services_.faults.clear();
        return plainResponse(204);
    }
    if (what == "DELETE requests") {
        services_.log.clear();
        return plainResponse(204);
    }
    return plainResponse(404);
}

Response ControlEndpoint::addFaults(BodySource& body) const
{
    const auto text = readAll(body, 1 << 20);
    if (!text) return plainResponse(413);
    std::vector<Fault> faults;
    for (const auto line : split(*text, '\n')) {
        if (trimmed(line).empty()) continue;
        std::string problem;
        auto fault = parseFault(trimmed(line), problem);
        if (!fault) {
            Response response = plainResponse(400);
            response.body = problem + "\n";
            return response;
        }
        faults.push_back(std::move(*fault));
    }
    for (auto& fault : faults)
        services_.faults.add(std::move(fault));
    return plainResponse(204);
}

Response ControlEndpoint::listRequests() const
{
    std::string lines;
    for (const auto& record : services_.log.records())
        lines += jsonOf(record) + "\n";
    Response response;
    response.set("Content-Type", "application/x-ndjson");
    response.body = std::move(lines);
    return response;
}

} // namespace devserver
