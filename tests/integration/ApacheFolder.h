#pragma once

#include <string>

#include "Wire.h"
#include "support/ApacheServer.h"
#include "support/SyncWorld.h"

namespace tidemark::testing {

/// A client of a server's folder (a path with "/" at both ends) with the server's credentials. A file that fails is
/// skipped, and so is a wait for a lost connection.
struct ApacheClient : test::SyncClient
{
    ApacheClient(const ApacheServer& server, const std::string& folder);
};

/// A server folder seen from outside, changed as another client changes it.
class ServerFolder
{
public:
    /// Makes the folder "/name/".
    ServerFolder(const ApacheServer& server, const std::string& name);

    const std::string& path() const { return path_; }
    /// With the time that other clients take for the file's.
    void write(const std::string& relative, const std::string& content, double time) const;
    /// A file, or with "/" at the end a folder.
    void remove(const std::string& relative) const;
    void makeFolder(const std::string& relative) const;
    /// Without what the server keeps for itself.
    test::Tree tree() const;

private:
    const ApacheServer& server_;
    std::string path_;
    std::shared_ptr<ASHttpConnectInfo> info_;
};

} // namespace tidemark::testing
