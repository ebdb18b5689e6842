#include "devserver/Router.h"

#include <functional>
#include <map>
#include <system_error>

namespace devserver {

namespace {

constexpr const char* allowedMethods =
    "OPTIONS, GET, HEAD, PUT, DELETE, PROPFIND, PROPPATCH, MKCOL, COPY, MOVE, LOCK, UNLOCK";

int statusOf(const std::system_error& problem)
{
    switch (problem.code().value()) {
    case ENOENT:
        return 404;
    case EACCES:
    case EPERM:
    case EROFS:
    case ENAMETOOLONG:
        return 403;
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
        return 507;
    default:
        return 500;
    }
}

} // namespace

Router::Router(Site& site)
    : site_(site), authentication_(site.options), files_(site), tree_(site), properties_(site), locks_(site),
      product_(site)
{
}

Response Router::answer(const Request& request, BodySource& body)
{
    if (auto refused = authentication_.check(request)) return std::move(*refused);
    if (!request.pathValid) return plainResponse(400);
    Response response;
    try {
        const auto resource = site_.tree.resolve(request.path);
        response = resource ? dispatch(request, *resource, body) : plainResponse(404);
    } catch (const std::system_error& problem) {
        response = plainResponse(statusOf(problem));
    }
    product_.setCookies(request, response);
    return response;
}

Response Router::dispatch(const Request& request, const Resource& resource, BodySource& body) const
{
    using Handler = std::function<Response(const Router&, const Request&, const Resource&, BodySource&)>;
    static const std::map<std::string, Handler, std::less<>> handlers = {
        {"OPTIONS", [](auto& self, auto& r, auto&, auto&) { return self.options(r); }},
        {"GET", [](auto& self, auto& r, auto& at, auto&) { return self.files_.get(r, at); }},
        {"HEAD", [](auto& self, auto& r, auto& at, auto&) { return self.files_.head(r, at); }},
        {"PUT", [](auto& self, auto& r, auto& at, auto& b) { return self.files_.put(r, at, b); }},
        {"DELETE", [](auto& self, auto& r, auto& at, auto&) { return self.tree_.remove(r, at); }},
        {"MKCOL", [](auto& self, auto& r, auto& at, auto&) { return self.tree_.makeCollection(r, at); }},
        {"COPY", [](auto& self, auto& r, auto& at, auto&) { return self.tree_.copy(r, at); }},
        {"MOVE", [](auto& self, auto& r, auto& at, auto&) { return self.tree_.move(r, at); }},
        {"PROPFIND", [](auto& self, auto& r, auto& at, auto& b) { return self.properties_.find(r, at, b); }},
        {"PROPPATCH", [](auto& self, auto& r, auto& at, auto& b) { return self.properties_.patch(r, at, b); }},
        {"LOCK", [](auto& self, auto& r, auto& at, auto& b) { return self.locks_.lock(r, at, b); }},
        {"UNLOCK", [](auto& self, auto& r, auto& at, auto&) { return self.locks_.unlock(r, at); }},
    };
    const auto handler = handlers.find(request.method);
    Response response =
        handler == handlers.end() ? plainResponse(501) : handler->second(*this, request, resource, body);
    if (response.status == 405) response.set("Allow", allowedMethods);
    return response;
}

Response Router::options(const Request&) const
{
    Response response;
    response.set("DAV", "1,2");
    response.set("Allow", allowedMethods);
    response.set("MS-Author-Via", "DAV");
    product_.announce(response, site_.options.user);
    return response;
}

} // namespace devserver
