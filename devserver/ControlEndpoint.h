#pragma once

#include "devserver/Connection.h"

namespace devserver {

// Lets another process steer a running server, below "/.devserver/":
//   POST   fault      adds the faults in the body, one a line (see parseFault)
//   DELETE fault      removes all
//   GET    requests   the records as JSON lines
//   DELETE requests   forgets them
class ControlEndpoint
{
public:
    explicit ControlEndpoint(const Services& services) : services_(services) {}

    static bool isFor(const Request& request);
    Response answer(const Request& request, BodySource& body) const;

private:
    Response addFaults(BodySource& body) const;
    Response listRequests() const;

    const Services& services_;
};

} // namespace devserver
