#pragma once

#include "devserver/DeadProperties.h"
#include "devserver/HttpMessage.h"
#include "devserver/LockTable.h"
#include "devserver/Options.h"
#include "devserver/ResourceTree.h"

#include <optional>

namespace devserver {

// What the handlers of all connections share. Thread-safe.
struct Site
{
    explicit Site(Options given) : options(std::move(given)), tree(options.root, options.mount) {}

    const Options options;
    const ResourceTree tree;
    DeadProperties properties;
    LockTable locks;

    bool product() const { return options.mode == Mode::Product; }
    // Whether the request holds the locks that lie on the resource, and on its folder when an entry comes or goes.
    bool mayChange(const Request& request, const Resource& resource, bool membership, bool withMembers = false) const;
    // The answer of the rule that refuses to store something of that name and size; nothing when none does.
    std::optional<Response> refusal(const Resource& resource, std::uint64_t size) const;
    // The answer of a site that insists on a "/" at the end of a folder's path; nothing when all is well.
    std::optional<Response> slashProblem(const Resource& resource) const;
    bool parentExists(const Resource& resource) const;
};

} // namespace devserver
