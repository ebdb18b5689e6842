#pragma once

#include "devserver/Authentication.h"
#include "devserver/FileHandler.h"
#include "devserver/LockHandler.h"
#include "devserver/PropertyHandler.h"
#include "devserver/Site.h"
#include "devserver/TreeHandler.h"

namespace devserver {

// Signs a request in and gives it to the handler of its method. Thread-safe.
class Router
{
public:
    explicit Router(Site& site);

    // Failures of the file system become answers. Throws ConnectionLost when the body breaks off.
    Response answer(const Request& request, BodySource& body);

private:
    Response dispatch(const Request& request, const Resource& resource, BodySource& body) const;
    Response options(const Request& request) const;

    Site& site_;
    Authentication authentication_;
    FileHandler files_;
    TreeHandler tree_;
    PropertyHandler properties_;
    LockHandler locks_;
    ProductExtensions product_;
};

} // namespace devserver
