#pragma once

#include "devserver/FaultTable.h"
#include "devserver/HttpMessage.h"
#include "devserver/Transport.h"

#include <functional>
#include <string>

namespace devserver {

// Sends one answer, with what a plan does to it.
class ResponseWriter
{
public:
    // `onBodyBytes` is called with the number of body bytes about to be sent.
    ResponseWriter(Transport& transport, const FaultPlan& plan, std::function<void(std::uint64_t)> onBodyBytes)
        : transport_(transport), plan_(plan), onBodyBytes_(std::move(onBodyBytes))
    {
    }

    // False when the connection must end: the answer's end is the connection's, or the caller wants it so.
    // Throws ConnectionLost when it breaks or a fault breaks it.
    bool write(Response& response, bool keepAlive);

private:
    enum class Framing
    {
        Length,
        Chunks,
        Close
    };

    void changeBody(Response& response) const;
    Framing framing() const;
    std::string head(const Response& response, bool close) const;
    void writeBody(const Response& response, std::string head);
    void writeChunks(const Response& response, std::string head);
    void writeEndless();
    void send(std::string_view bodyBytes);

    Transport& transport_;
    const FaultPlan& plan_;
    std::function<void(std::uint64_t)> onBodyBytes_;
};

// Goes quiet until the peer has gone or the stall is released; then throws ConnectionLost.
[[noreturn]] void stall(Transport& transport, const std::function<bool()>& released);

} // namespace devserver
