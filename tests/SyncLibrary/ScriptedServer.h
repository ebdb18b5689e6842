#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "SyncLibrary/BXSyncCommandRunning.h"
#include "SyncLibrary/BXSyncUtils.h"
#include "SyncLibrary/BXSyncWebDAVInspectFile.h"
#include "support/TempTree.h"

namespace tidemark::test {

/// A runner that nothing may reach: the inspectors under test answer their listing requests from a ScriptedServer.
struct NoRunner : BXSyncCommandRunning
{
    Result<std::shared_ptr<ASWDCmd>> davConnect(const CommandFactory&, const AcceptStatus&) override
    {
        return failure(errorDomain, -1, "unexpected request");
    }
};

/// Answers listing requests for the tree below http://dav.example/root.
class ScriptedServer
{
public:
    static constexpr const char* root = "http://dav.example/root";

    struct Reply
    {
        int status = 207;
        std::string body;
    };

    Tree tree;
    /// Pathname to an answer that takes the tree's place.
    std::map<std::string, Reply> replies;
    /// Runs at each request, with its pathname ("" for the root).
    std::function<void(const std::string&)> onRequest;
    /// Pathnames asked for, with "/" at the end where the request had it.
    std::vector<std::string> requests;

    Reply answer(const Url& url)
    {
        auto pathname = url.path().substr(std::string("/root").size());
        if (onRequest) onRequest(pathname);
        const bool asFolder = url == url.withTrailingSlash();
        requests.push_back(asFolder ? pathname + "/" : pathname);
        if (const auto reply = replies.find(pathname); reply != replies.end()) return reply->second;
        const auto all = complete(tree);
        const auto key = pathname.empty() ? pathname : pathname.substr(1);
        if (!key.empty() && !all.contains(key)) return {404, {}};
        const bool isFolder = key.empty() || all.at(key).isFolder;
        if (isFolder != asFolder) return {isFolder ? 409 : 404, {}};
        return {207, multistatus(all, key)};
    }

    static std::string response(const std::string& pathname, const TreeEntry& entry)
    {
        const auto href = Url::parse(root)->appendingPath(pathname).encodedPath();
        std::string properties;
        if (entry.isFolder)
            properties = "<D:resourcetype><D:collection/></D:resourcetype>";
        else
            properties = "<D:getcontentlength>" + std::to_string(entry.content.size()) + "</D:getcontentlength>";
        const auto time = dates::fromSeconds(entry.time.value_or(0));
        properties += "<D:getlastmodified>" + dates::formatHttpDate(time) + "</D:getlastmodified>";
        return "<D:response><D:href>" + href + "</D:href><D:propstat><D:prop>" + properties +
               "</D:prop></D:propstat></D:response>";
    }

    static std::string document(const std::string& responses)
    {
        return "<D:multistatus xmlns:D=\"DAV:\">" + responses + "</D:multistatus>";
    }

private:
    /// The entry itself and what lies directly in it.
    static std::string multistatus(const Tree& all, const std::string& key)
    {
        auto responses = response(key, key.empty() ? folder() : all.at(key));
        const auto prefix = key.empty() ? key : key + "/";
        for (const auto& [path, entry] : all)
            if (path.starts_with(prefix) && path.find('/', prefix.size()) == std::string::npos)
                responses += response(path, entry);
        return document(responses);
    }
};

/// `Inspector` (BXSyncWebDAVInspectFile or one of its kind) with its requests answered by a ScriptedServer.
template <class Inspector>
class Scripted : public Inspector
{
public:
    template <class... Args>
    explicit Scripted(ScriptedServer& server, Args&&... args) : Inspector(std::forward<Args>(args)...), server_(server)
    {
    }

protected:
    using Answer = typename Inspector::Answer;

    Result<Answer> requestListing(const Url& url, bool probing) override
    {
        const auto reply = server_.answer(url);
        const bool accepted = reply.status == 207 || reply.status == 404 || (probing && reply.status == 409);
        if (accepted) return Answer{reply.status, reply.body};
        Error error{BXSyncCommandRunning::errorDomain, -1, {}};
        error.userInfo[BXSyncCommandRunning::logKey] = "refused with " + std::to_string(reply.status);
        return failure(std::move(error));
    }

private:
    ScriptedServer& server_;
};

} // namespace tidemark::test
