#pragma once

#include "devserver/Site.h"

namespace devserver {

// MKCOL, DELETE, COPY and MOVE.
class TreeHandler
{
public:
    explicit TreeHandler(Site& site) : site_(site) {}

    Response makeCollection(const Request& request, const Resource& resource) const;
    Response remove(const Request& request, const Resource& resource) const;
    Response copy(const Request& request, const Resource& source) const;
    Response move(const Request& request, const Resource& source) const;

private:
    enum class Transfer
    {
        Copy,
        Move
    };

    Response transfer(const Request& request, const Resource& source, Transfer kind) const;
    std::optional<Response> transferProblem(const Request& request, const Resource& source, const Resource& destination,
                                            Transfer kind) const;
    // Nothing when the Destination header names no place of this site; `status` says why.
    std::optional<Resource> destination(const Request& request, int& status) const;
    void removeAll(const Resource& resource) const;
    void copyTree(const std::filesystem::path& from, const std::filesystem::path& to, bool deep) const;
    void copyFile(const std::filesystem::path& from, const std::filesystem::path& to) const;

    Site& site_;
};

} // namespace devserver
