#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace devserver {

using HeaderList = std::vector<std::pair<std::string, std::string>>;

// What goes wrong. Each effect changes one stage of an exchange; several effects may meet in one exchange.
namespace fault {

// The request body is read and dropped, nothing is done, and this is answered.
struct Status
{
    int code = 500;
    HeaderList headers;
    std::string body;
};

// Waits after the request's header has been read, before anything else; ended early by stop() and by the peer.
struct Delay
{
    std::chrono::milliseconds time{0};
};

// The connection is closed once this many bytes of the request body have been read; nothing is done or answered.
struct CutRequest
{
    std::uint64_t afterBytes = 0;
};

// The whole body is announced; the connection is closed after this many of its bytes.
struct CutResponse
{
    std::uint64_t afterBytes = 0;
};

// The request is carried out, then the connection is closed without an answer.
struct DropResponse
{
};

// The answer is complete and promises to keep the connection, which is then closed.
struct CloseAfter
{
};

// Announces this length instead of the body's.
struct WrongContentLength
{
    std::uint64_t value = 0;
};

// Announces no length; the connection is closed after the body.
struct NoContentLength
{
};

// A body in chunks whose second chunk has a size that is no number.
struct BrokenChunks
{
};

enum class StallPlace
{
    BeforeReadingBody, // the request's header was read, its body never is
    BeforeResponse,    // carried out, never answered
    InResponseHeader,  // the status line and half a header line were sent
    InResponseBody,    // afterBytes bytes of the body were sent
};

// Goes quiet with the connection open, until releaseStalls(), stop() or the peer's close; then closes.
struct Stall
{
    StallPlace place = StallPlace::BeforeResponse;
    std::uint64_t afterBytes = 0;
};

enum class ConnectAction
{
    Stall,
    Close
};

// Acts on a new connection before a byte is read (over TLS: before the handshake). Method and pattern do not count.
struct OnConnect
{
    ConnectAction action = ConnectAction::Close;
};

// This text instead of the answer's body, with the length that fits it.
struct ReplaceBody
{
    std::string body;
};

// Only the first bytes of the answer's body, with the length that fits them.
struct TruncateBody
{
    std::uint64_t bytes = 0;
};

// The answer's body is followed by this text again and again, without an announced length, until totalBytes have
// been sent (0: until the peer closes).
struct EndlessBody
{
    std::string repeat = "x";
    std::uint64_t totalBytes = 0;
};

// Adds the header to the answer, or replaces those of its name.
struct Header
{
    std::string name;
    std::string value;
    bool replace = true;
};

// Adds that many headers of that many bytes each.
struct HugeHeader
{
    std::size_t bytes = 1 << 20;
    std::size_t count = 1;
};

// This text instead of the whole status line and header; must end in an empty line to be a header.
struct RawHeader
{
    std::string text;
};

// In a listing the entry of that name (decoded, last component) gets this text as its href. The text is escaped for
// XML and nothing else.
struct ReplaceHref
{
    std::string name;
    std::string href;
};

// A listing gets one more entry.
struct AddEntry
{
    std::string href;
    bool folder = false;
    std::uint64_t size = 0;
};

// Calls the function on the connection's thread, once the request body has been read up to afterBytes (0: before it is
// read and anything is done). For tests that change the world in the middle of an exchange.
struct Call
{
    std::function<void()> function;
    std::uint64_t afterBytes = 0;
};

} // namespace fault

using FaultEffect =
    std::variant<fault::Status, fault::Delay, fault::CutRequest, fault::CutResponse, fault::DropResponse,
                 fault::CloseAfter, fault::WrongContentLength, fault::NoContentLength, fault::BrokenChunks,
                 fault::Stall, fault::OnConnect, fault::ReplaceBody, fault::TruncateBody, fault::EndlessBody,
                 fault::Header, fault::HugeHeader, fault::RawHeader, fault::ReplaceHref, fault::AddEntry, fault::Call>;

// One thing that goes wrong, for the requests that match it.
struct Fault
{
    static constexpr int forever = -1;

    std::string method = "*";  // "*" for every method
    std::string pattern = "*"; // a glob over the decoded path with its leading "/"; "*" matches "/" too
    FaultEffect effect;
    int count = 1; // requests it strikes, or forever
    int skip = 0;  // requests that match and pass unharmed before
};

// Reads "METHOD:PATTERN:COUNT:KIND=VALUE". COUNT is a number or "*", with "+N" behind it for N requests that pass
// first. In PATTERN "%3A" stands for ":", and in VALUE "\n", "\r", "\t", "\\" are escapes. Kinds:
//   status=CODE             delay=MILLISECONDS      cut-request=BYTES       cut-response=BYTES
//   drop-response           close-after             content-length=NUMBER   no-content-length
//   broken-chunks           stall=before-body|before-response|header|body[@BYTES]
//   connect=stall|close     body=TEXT               truncate=BYTES          endless=TEXT[@BYTES]
//   header=NAME: VALUE      huge-header=BYTES[@COUNT]                       raw-header=TEXT
//   href=NAME>HREF          entry=HREF[@SIZE], a folder when HREF ends in "/"
// Nothing, and the reason in `problem`, when the text is none of these.
std::optional<Fault> parseFault(std::string_view text, std::string& problem);

} // namespace devserver
