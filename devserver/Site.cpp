#include "devserver/Site.h"

#include "devserver/Text.h"

namespace devserver {

std::optional<RefusalRule> parseRefusalRule(std::string_view text)
{
    const auto fields = split(text, ':');
    if (fields.size() < 2 || fields.size() > 3 || fields[1].empty()) return {};
    RefusalRule rule;
    rule.extension = fields[0].ends_with('x');
    const auto status = parseNumber(fields[0].substr(0, fields[0].size() - (rule.extension ? 1 : 0)));
    const auto size = fields.size() == 3 ? parseNumber(fields[2]) : std::optional<std::uint64_t>(0);
    if (!status || *status < 400 || *status > 599 || !size) return {};
    rule.status = static_cast<int>(*status);
    rule.pattern = fields[1];
    rule.minimumSize = *size;
    return rule;
}

bool Site::mayChange(const Request& request, const Resource& resource, bool membership, bool withMembers) const
{
    const auto tokens = request.header("If").value_or("");
    if (!locks.permits(resource.path, tokens, withMembers)) return false;
    return !membership || locks.permits(parentPath(resource.path), tokens);
}

std::optional<Response> Site::refusal(const Resource& resource, std::uint64_t size) const
{
    for (const auto& rule : options.refusals) {
        if (size < rule.minimumSize || !matchesGlob(rule.pattern, lastComponent(resource.path), true)) continue;
        Response response = plainResponse(rule.status);
        if (rule.extension && product()) response.set("X-BX-REFUSAL-EXTENSION", "1");
        return response;
    }
    return {};
}

std::optional<Response> Site::slashProblem(const Resource& resource) const
{
    if (resource.slash || resource.isRoot() || options.folderWithoutSlash == FolderWithoutSlash::Serve) return {};
    if (options.folderWithoutSlash == FolderWithoutSlash::Conflict) return plainResponse(409);
    Response response = plainResponse(301);
    std::string location = tree.href(resource, options.rawPlusInHref);
    if (!location.ends_with('/')) location += '/';
    response.set("Location", location);
    return response;
}

bool Site::parentExists(const Resource& resource) const
{
    const auto parent = fileStatus(resource.file.parent_path());
    return parent && parent->folder;
}

} // namespace devserver
