#pragma once

#include "devserver/ProductExtensions.h"
#include "devserver/Site.h"

namespace devserver {

// GET, HEAD and PUT.
class FileHandler
{
public:
    explicit FileHandler(Site& site) : site_(site), product_(site) {}

    Response get(const Request& request, const Resource& resource) const;
    Response head(const Request& request, const Resource& resource) const;
    Response put(const Request& request, const Resource& resource, BodySource& body) const;

private:
    // Where in the stored file the body goes, and how much of the old file stays.
    struct Placement
    {
        std::uint64_t offset = 0;
        std::uint64_t keptBytes = 0; // from its beginning; what the body does not cover stays
    };

    std::optional<Response> putProblem(const Request& request, const Resource& resource) const;
    Response store(const Request& request, const Resource& resource, const Placement& placement,
                   BodySource& body) const;
    // A status instead of a placement when the range cannot be honoured.
    std::variant<Placement, int> placement(const Request& request, const Resource& resource) const;
    std::variant<Placement, int> productPlacement(const Request& request, const Resource& resource,
                                                  std::string_view contentRange) const;
    std::variant<Placement, int> plainPlacement(const Resource& resource, std::string_view contentRange) const;

    Site& site_;
    ProductExtensions product_;
};

} // namespace devserver
