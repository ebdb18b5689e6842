#pragma once

#include "devserver/Fault.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace devserver {

// One request as it came in and what became of it. A record is there from the moment the request's header has been
// read, and holds status and body size before the client can have seen the last byte of the answer.
struct RequestRecord
{
    std::uint64_t connectionId = 0; // 1 for the first connection
    std::string method;
    std::string target; // as sent
    std::string path;   // decoded, with a leading "/"
    HeaderList headers; // in the order sent, names as sent
    std::string body;   // whole when it is no PUT and within the limit of the options
    std::uint64_t requestBodyBytes = 0;
    int responseStatus = 0; // 0: not answered (yet)
    std::uint64_t responseBodyBytes = 0;
    bool finished = false;

    // The first header of that name, without regard to case.
    std::optional<std::string> header(std::string_view name) const;
};

} // namespace devserver
