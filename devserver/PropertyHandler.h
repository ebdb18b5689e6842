#pragma once

#include "devserver/MultiStatus.h"
#include "devserver/RequestXml.h"
#include "devserver/Site.h"

namespace devserver {

// PROPFIND and PROPPATCH.
class PropertyHandler
{
public:
    explicit PropertyHandler(Site& site) : site_(site) {}

    Response find(const Request& request, const Resource& resource, BodySource& body) const;
    Response patch(const Request& request, const Resource& resource, BodySource& body) const;

private:
    void writeEntry(MultiStatus& document, const Request& request, const Resource& resource,
                    const PropfindQuery& query) const;
    void writeMembers(MultiStatus& document, const Request& request, const Resource& folder,
                      const PropfindQuery& query) const;

    Site& site_;
};

} // namespace devserver
