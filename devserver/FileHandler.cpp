#include "devserver/FileHandler.h"

#include "devserver/HttpDate.h"
#include "devserver/Preconditions.h"
#include "devserver/Ranges.h"
#include "devserver/Text.h"

#include <map>
#include <vector>

namespace devserver {

namespace {

constexpr std::size_t pieceSize = 256 * 1024;

std::string contentType(std::string_view path)
{
    static const std::map<std::string, std::string> types = {
        {"txt", "text/plain"},      {"html", "text/html"}, {"xml", "application/xml"}, {"json", "application/json"},
        {"pdf", "application/pdf"}, {"png", "image/png"},  {"jpg", "image/jpeg"},      {"gif", "image/gif"}};
    const auto dot = path.rfind('.');
    const auto found = dot == std::string_view::npos ? types.end() : types.find(lowered(path.substr(dot + 1)));
    return found == types.end() ? "application/octet-stream" : found->second;
}

void describe(const Resource& resource, Response& response)
{
    response.set("Last-Modified", httpDate(resource.status->modified));
    response.set("ETag", resource.status->etag);
    response.set("Accept-Ranges", "bytes");
    response.set("Content-Type", contentType(resource.path));
}

} // namespace

Response FileHandler::get(const Request& request, const Resource& resource) const
{
    if (!resource.status) return plainResponse(404);
    if (resource.isFolder()) return site_.slashProblem(resource).value_or(plainResponse(405));
    if (const int status = readPrecondition(request, *resource.status); status != 0) return plainResponse(status);
    Response response;
    describe(resource, response);
    product_.addCreationDate(resource, response);
    File file = File::openForReading(resource.file);
    const std::uint64_t size = file.size();
    RangeAnswer answer{RangeKind::Whole, {0, size}};
    if (const auto range = request.header("Range")) answer = parseRange(*range, size, site_.product());
    const std::string total = "/" + std::to_string(size);
    switch (answer.kind) {
    case RangeKind::Unsatisfiable:
        response = plainResponse(416);
        response.set("Content-Range", "bytes *" + total);
        return response;
    case RangeKind::Part: {
        const auto last = answer.range.first + answer.range.length - 1;
        response.status = 206;
        response.set("Content-Range",
                     "bytes " + std::to_string(answer.range.first) + "-" + std::to_string(last) + total);
        break;
    }
    case RangeKind::Whole:
        answer.range = {0, size};
        break;
    }
    response.body = FileRange{std::move(file), answer.range.first, answer.range.length};
    return response;
}

Response FileHandler::head(const Request& request, const Resource& resource) const
{
    if (resource.isFolder()) {
        Response response;
        response.set("Last-Modified", httpDate(resource.status->modified));
        return site_.slashProblem(resource).value_or(std::move(response));
    }
    Response response = get(request, resource);
    response.lengthOnly = response.bodyLength();
    response.body = std::string();
    if (response.status < 300) product_.answerProbe(request, resource, response);
    return response;
}

Response FileHandler::put(const Request& request, const Resource& resource, BodySource& body) const
{
    if (auto problem = putProblem(request, resource)) return std::move(*problem);
    const auto where = placement(request, resource);
    if (const int* status = std::get_if<int>(&where)) return plainResponse(*status);
    return store(request, resource, std::get<Placement>(where), body);
}

std::optional<Response> FileHandler::putProblem(const Request& request, const Resource& resource) const
{
    if (resource.isFolder() || resource.slash) return plainResponse(405);
    if (!site_.parentExists(resource)) return plainResponse(409);
    if (const int status = writePrecondition(request, resource.status); status != 0) return plainResponse(status);
    if (!site_.mayChange(request, resource, !resource.status)) return plainResponse(423);
    return site_.refusal(resource, request.contentLength.value_or(0));
}

Response FileHandler::store(const Request& request, const Resource& resource, const Placement& placement,
                            BodySource& body) const
{
    PartialFile file(resource.file);
    if (placement.keptBytes > 0) file.copyFrom(resource.file, placement.keptBytes);
    std::vector<char> buffer(pieceSize);
    std::uint64_t offset = placement.offset;
    while (const std::size_t size = body.read(buffer)) {
        file.writeAt({buffer.data(), size}, offset);
        offset += size;
        if (auto refused = site_.refusal(resource, offset)) return std::move(*refused);
    }
    if (resource.status) site_.properties.copy(resource.file, file.path());
    product_.applyDates(request, file);
    const auto written = file.path();
    file.commit();
    site_.properties.moved(written, resource.file);
    Response response = plainResponse(resource.status ? 204 : 201);
    if (const auto status = fileStatus(resource.file)) response.set("ETag", status->etag);
    return response;
}

std::variant<FileHandler::Placement, int> FileHandler::placement(const Request& request, const Resource& resource) const
{
    const auto contentRange = request.header("Content-Range");
    if (!contentRange) return Placement();
    return site_.product() ? productPlacement(request, resource, *contentRange)
                           : plainPlacement(resource, *contentRange);
}

// The product takes a range that begins at 0 as the whole file; one that begins later continues a file on request.
std::variant<FileHandler::Placement, int>
FileHandler::productPlacement(const Request& request, const Resource& resource, std::string_view contentRange) const
{
    const auto range = parseContentRange(contentRange);
    if (!range || (request.contentLength && *request.contentLength != range->range.length)) return 400;
    const std::uint64_t first = range->range.first;
    if (range->total && *range->total != first + range->range.length) return 400;
    if (first == 0) return Placement();
    if (!request.header("X-BX-ENABLE-RESUME")) return 400;
    if (!resource.status || resource.status->size < first) return 416;
    return Placement{first, first};
}

std::variant<FileHandler::Placement, int> FileHandler::plainPlacement(const Resource& resource,
                                                                      std::string_view contentRange) const
{
    switch (site_.options.partialPut) {
    case PartialPut::NotImplemented:
        return 501;
    case PartialPut::BadRequest:
        return 400;
    case PartialPut::Write:
        break;
    }
    const auto range = parseContentRange(contentRange);
    if (!range) return 400;
    return Placement{range->range.first, resource.status ? UINT64_MAX : 0};
}

} // namespace devserver
