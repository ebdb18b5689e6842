#pragma once

#include "devserver/Connection.h"

namespace devserver {

// One request and its answer.
class Exchange
{
public:
    Exchange(Transport& transport, HttpReader& reader, std::uint64_t connectionId, const Services& services,
             Request request);
    ~Exchange();
    Exchange(const Exchange&) = delete;
    Exchange& operator=(const Exchange&) = delete;

    // Whether the connection goes on. Throws ConnectionLost.
    bool run();

private:
    class Body;

    void faultsBeforeBody(Body& body);
    Response answer(Body& body);

    Transport& transport_;
    HttpReader& reader_;
    const Services& services_;
    Request request_;
    FaultPlan plan_;
    RequestLog::Id id_;
};

} // namespace devserver
