#pragma once

#include "devserver/HttpMessage.h"
#include "devserver/Site.h"

#include <string_view>

namespace devserver {

// The product's additions to WebDAV. Each does nothing in plain mode.
class ProductExtensions
{
public:
    explicit ProductExtensions(Site& site) : site_(site) {}

    // The headers that tell a client about server and account. `user` is who signed in.
    void announce(Response& response, std::string_view user) const;
    // A session cookie for a client that shows none.
    void setCookies(const Request& request, Response& response) const;
    void addCreationDate(const Resource& resource, Response& response) const;
    // Answers a probe for the checksum of a range of the file.
    void answerProbe(const Request& request, const Resource& resource, Response& response) const;
    // Puts the dates that came with an upload on what is about to be stored.
    void applyDates(const Request& request, PartialFile& file) const;

private:
    Site& site_;
};

} // namespace devserver
