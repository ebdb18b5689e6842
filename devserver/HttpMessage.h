#pragma once

#include "devserver/Fault.h"
#include "devserver/File.h"

#include <cstdint>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace devserver {

// The peer is gone, or a fault closes the connection: ends the exchange and the connection.
class ConnectionLost : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

// What faults do to the entries of a listing.
struct ListingChanges
{
    std::vector<fault::ReplaceHref> replaced;
    std::vector<fault::AddEntry> added;
};

struct Request
{
    std::string method;
    std::string target;    // as sent
    std::string path;      // decoded; starts with "/"
    bool pathValid = true; // false: the target is no path or its escapes are broken
    HeaderList headers;
    std::optional<std::uint64_t> contentLength; // nothing: no body, or one in chunks
    bool hasBody = false;
    bool keepAlive = true;
    ListingChanges listing;

    std::optional<std::string_view> header(std::string_view name) const;
};

// The request's body, from the connection.
class BodySource
{
public:
    virtual ~BodySource() = default;
    // Fills the buffer in part or whole; 0 at the end of the body. Throws ConnectionLost.
    virtual std::size_t read(std::span<char> buffer) = 0;
};

struct FileRange
{
    File file;
    std::uint64_t offset = 0;
    std::uint64_t length = 0;
};

struct Response
{
    int status = 200;
    HeaderList headers;
    std::variant<std::string, FileRange> body = std::string();
    // Of HEAD: the body is not sent, and this is its length.
    std::optional<std::uint64_t> lengthOnly;

    void set(std::string_view name, std::string value);
    std::uint64_t bodyLength() const;
};

std::optional<std::string_view> findHeader(const HeaderList& headers, std::string_view name);
void setHeader(HeaderList& headers, std::string_view name, std::string value);
std::string_view reasonPhrase(int status);
// An answer with the status' reason as its text.
Response plainResponse(int status);
// Reads the whole body; nothing when it is longer than the limit.
std::optional<std::string> readAll(BodySource& body, std::size_t limit);
void drain(BodySource& body);

} // namespace devserver
