#include "devserver/Connection.h"

#include "devserver/ControlEndpoint.h"
#include "devserver/Exchange.h"
#include "devserver/ResponseWriter.h"

namespace devserver {

namespace {

bool serveNext(Transport& transport, HttpReader& reader, std::uint64_t connectionId, const Services& services)
{
    auto request = reader.next();
    if (!request) return false;
    if (services.site.options.control && ControlEndpoint::isFor(*request)) {
        Response response = ControlEndpoint(services).answer(*request, reader);
        drain(reader);
        return ResponseWriter(transport, FaultPlan(), [](std::uint64_t) {}).write(response, request->keepAlive);
    }
    return Exchange(transport, reader, connectionId, services, std::move(*request)).run();
}

void refuse(Transport& transport)
{
    Response response = plainResponse(400);
    ResponseWriter(transport, FaultPlan(), [](std::uint64_t) {}).write(response, false);
}

void serve(Transport& transport, std::uint64_t connectionId, const Services& services)
{
    if (const auto plan = services.faults.strikeConnection()) {
        if (plan->action == fault::ConnectAction::Stall) stall(transport, plan->released);
        return;
    }
    transport.handshake();
    HttpReader reader(transport);
    try {
        while (serveNext(transport, reader, connectionId, services)) {
        }
    } catch (const MalformedRequest&) {
        refuse(transport);
    }
    transport.finish();
}

} // namespace

void serveConnection(Transport& transport, std::uint64_t connectionId, const Services& services)
{
    try {
        serve(transport, connectionId, services);
    } catch (const std::exception&) {
        // The peer has gone or a fault ended the connection; closing it is all there is to do.
    }
    transport.abort();
}

} // namespace devserver
