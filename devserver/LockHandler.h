#pragma once

#include "devserver/Site.h"

namespace devserver {

// LOCK and UNLOCK.
class LockHandler
{
public:
    explicit LockHandler(Site& site) : site_(site) {}

    Response lock(const Request& request, const Resource& resource, BodySource& body) const;
    Response unlock(const Request& request, const Resource& resource) const;

private:
    Response refresh(const Request& request, const Resource& resource) const;

    Site& site_;
};

} // namespace devserver
