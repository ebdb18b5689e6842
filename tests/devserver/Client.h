#pragma once

#include "devserver/Server.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace devserver::test {

// A folder below the temporary folder, removed at the end.
class TemporaryFolder
{
public:
    TemporaryFolder();
    ~TemporaryFolder();
    std::filesystem::path operator/(const std::string& name) const { return path_ / name; }
    const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
};

void writeFile(const std::filesystem::path& path, std::string_view content);
std::string readFile(const std::filesystem::path& path);

struct Reply
{
    int error = 0; // CURLcode
    int status = 0;
    std::string body;
    HeaderList headers; // of the last answer

    std::string header(std::string_view name) const;
};

// An HTTP client over libcurl that keeps its connection.
class Client
{
public:
    explicit Client(const Server& server);
    ~Client();
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    void signIn(const std::string& user, const std::string& password, long curlAuth);
    void trust(const std::string& certificatePem);
    void useCertificate(const std::string& certificateFile, const std::string& keyFile);
    void limitTls(long curlVersion);

    // `target` is the escaped path from the host on.
    Reply send(const std::string& method, const std::string& target, const std::vector<std::string>& headers = {},
               std::optional<std::string> body = {});

private:
    void* handle_;
    std::string base_;
    std::string certificate_;
};

} // namespace devserver::test
