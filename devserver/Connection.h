#pragma once

#include "devserver/FaultTable.h"
#include "devserver/HttpReader.h"
#include "devserver/RequestLog.h"
#include "devserver/Router.h"
#include "devserver/Transport.h"

namespace devserver {

// What the connections of a server share. Thread-safe.
struct Services
{
    Site& site;
    Router& router;
    FaultTable& faults;
    RequestLog& log;
};

// Serves the requests of one connection until it ends, on the caller's thread. Never throws.
void serveConnection(Transport& transport, std::uint64_t connectionId, const Services& services);

} // namespace devserver
