#include "devserver/TreeHandler.h"

#include "devserver/Text.h"

namespace devserver {

namespace {

bool isSameOrBelow(std::string_view path, std::string_view folder)
{
    return path == folder || folder == "/" || (path.starts_with(folder) && path.substr(folder.size()).starts_with('/'));
}

} // namespace

Response TreeHandler::makeCollection(const Request& request, const Resource& resource) const
{
    if (request.hasBody && request.contentLength.value_or(1) > 0) return plainResponse(415);
    if (resource.status) return plainResponse(405);
    if (auto problem = site_.slashProblem(resource)) return std::move(*problem);
    if (!site_.parentExists(resource)) return plainResponse(409);
    if (!site_.mayChange(request, resource, true)) return plainResponse(423);
    if (auto refused = site_.refusal(resource, 0)) return std::move(*refused);
    std::filesystem::create_directory(resource.file);
    return plainResponse(201);
}

Response TreeHandler::remove(const Request& request, const Resource& resource) const
{
    if (!resource.status) return plainResponse(404);
    if (resource.isRoot()) return plainResponse(403);
    if (resource.isFolder())
        if (auto problem = site_.slashProblem(resource)) return std::move(*problem);
    if (!site_.mayChange(request, resource, true, true)) return plainResponse(423);
    removeAll(resource);
    return plainResponse(204);
}

Response TreeHandler::copy(const Request& request, const Resource& source) const
{
    return transfer(request, source, Transfer::Copy);
}

Response TreeHandler::move(const Request& request, const Resource& source) const
{
    return transfer(request, source, Transfer::Move);
}

Response TreeHandler::transfer(const Request& request, const Resource& source, Transfer kind) const
{
    if (!source.status) return plainResponse(404);
    int status = 400;
    const auto target = destination(request, status);
    if (!target) return plainResponse(status);
    if (auto problem = transferProblem(request, source, *target, kind)) return std::move(*problem);
    if (target->status) removeAll(*target);
    switch (kind) {
    case Transfer::Copy:
        copyTree(source.file, target->file, request.header("Depth").value_or("infinity") != "0");
        break;
    case Transfer::Move:
        std::filesystem::rename(source.file, target->file);
        site_.properties.moved(source.file, target->file);
        site_.locks.removed(source.path);
        break;
    }
    return plainResponse(target->status ? 204 : 201);
}

std::optional<Response> TreeHandler::transferProblem(const Request& request, const Resource& source,
                                                     const Resource& destination, Transfer kind) const
{
    if (isSameOrBelow(destination.path, source.path) || isSameOrBelow(source.path, destination.path))
        return plainResponse(403);
    if (!site_.parentExists(destination)) return plainResponse(409);
    if (destination.status && equalIgnoringCase(request.header("Overwrite").value_or("T"), "F"))
        return plainResponse(412);
    if (!site_.mayChange(request, destination, true, true)) return plainResponse(423);
    if (kind == Transfer::Move && !site_.mayChange(request, source, true, true)) return plainResponse(423);
    return site_.refusal(destination, source.status->size);
}

std::optional<Resource> TreeHandler::destination(const Request& request, int& status) const
{
    const auto header = request.header("Destination");
    if (!header) return {};
    std::string_view target = trimmed(*header);
    if (const auto scheme = target.find("://"); scheme != std::string_view::npos) {
        target.remove_prefix(scheme + 3);
        const auto slash = target.find('/');
        status = 502;
        if (slash == std::string_view::npos || target.substr(0, slash) != request.header("Host").value_or(""))
            return {};
        target.remove_prefix(slash);
    }
    const auto decoded = percentDecoded(target);
    status = 400;
    if (!decoded || !decoded->starts_with('/')) return {};
    status = 403;
    return site_.tree.resolve(*decoded);
}

void TreeHandler::removeAll(const Resource& resource) const
{
    std::filesystem::remove_all(resource.file);
    site_.properties.removed(resource.file);
    site_.locks.removed(resource.path);
}

void TreeHandler::copyTree(const std::filesystem::path& from, const std::filesystem::path& to, bool deep) const
{
    const auto status = fileStatus(from);
    if (!status) return;
    if (!status->folder) return copyFile(from, to);
    std::filesystem::create_directory(to);
    site_.properties.copy(from, to);
    if (!deep) return;
    for (const auto& entry : std::filesystem::directory_iterator(from))
        if (const auto name = entry.path().filename(); !PartialFile::isPartialName(name.string()))
            copyTree(entry.path(), to / name, true);
}

void TreeHandler::copyFile(const std::filesystem::path& from, const std::filesystem::path& to) const
{
    PartialFile file(to);
    file.copyFrom(from, UINT64_MAX);
    site_.properties.copy(from, file.path());
    const auto written = file.path();
    file.commit();
    site_.properties.moved(written, to);
}

} // namespace devserver
