#include "devserver/Client.h"

#include <curl/curl.h>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <strings.h>

namespace devserver::test {

namespace {

std::size_t collectBody(char* data, std::size_t size, std::size_t count, void* user)
{
    static_cast<Reply*>(user)->body.append(data, size * count);
    return size * count;
}

std::size_t collectHeader(char* data, std::size_t size, std::size_t count, void* user)
{
    auto& headers = static_cast<Reply*>(user)->headers;
    const std::string_view line(data, size * count);
    if (line.starts_with("HTTP/")) headers.clear();
    if (const auto colon = line.find(": "); colon != std::string_view::npos)
        headers.emplace_back(line.substr(0, colon), line.substr(colon + 2, line.find('\r') - colon - 2));
    return size * count;
}

} // namespace

TemporaryFolder::TemporaryFolder()
{
    std::string name = (std::filesystem::temp_directory_path() / "devserver-test-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder");
    path_ = name;
}

TemporaryFolder::~TemporaryFolder()
{
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

void writeFile(const std::filesystem::path& path, std::string_view content)
{
    std::ofstream(path, std::ios::binary) << content;
}

std::string readFile(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string Reply::header(std::string_view name) const
{
    for (const auto& [key, value] : headers)
        if (strcasecmp(key.c_str(), std::string(name).c_str()) == 0) return value;
    return {};
}

Client::Client(const Server& server) : handle_(curl_easy_init()), base_(server.url())
{
    base_.erase(base_.find('/', base_.find("://") + 3));
}

Client::~Client()
{
    curl_easy_cleanup(handle_);
}

void Client::signIn(const std::string& user, const std::string& password, long curlAuth)
{
    curl_easy_setopt(handle_, CURLOPT_USERNAME, user.c_str());
    curl_easy_setopt(handle_, CURLOPT_PASSWORD, password.c_str());
    curl_easy_setopt(handle_, CURLOPT_HTTPAUTH, curlAuth);
}

void Client::trust(const std::string& certificatePem)
{
    certificate_ = certificatePem;
    curl_blob blob{certificate_.data(), certificate_.size(), CURL_BLOB_COPY};
    curl_easy_setopt(handle_, CURLOPT_CAINFO_BLOB, &blob);
}

void Client::useCertificate(const std::string& certificateFile, const std::string& keyFile)
{
    curl_easy_setopt(handle_, CURLOPT_SSLCERT, certificateFile.c_str());
    curl_easy_setopt(handle_, CURLOPT_SSLKEY, keyFile.c_str());
}

void Client::limitTls(long curlVersion)
{
    curl_easy_setopt(handle_, CURLOPT_SSLVERSION, curlVersion);
}

Reply Client::send(const std::string& method, const std::string& target, const std::vector<std::string>& headers,
                   std::optional<std::string> body)
{
    Reply reply;
    curl_slist* list = curl_slist_append(nullptr, "Expect:");
    list = curl_slist_append(list, "Content-Type:");
    for (const auto& header : headers)
        list = curl_slist_append(list, header.c_str());
    curl_easy_setopt(handle_, CURLOPT_URL, (base_ + target).c_str());
    curl_easy_setopt(handle_, CURLOPT_PATH_AS_IS, 1L);
    curl_easy_setopt(handle_, CURLOPT_NOPROXY, "*");
    curl_easy_setopt(handle_, CURLOPT_TIMEOUT, 60L);
    curl_easy_setopt(handle_, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(handle_, CURLOPT_HTTPGET, 1L);
    curl_easy_setopt(handle_, CURLOPT_NOBODY, method == "HEAD" ? 1L : 0L);
    if (body) {
        curl_easy_setopt(handle_, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body->size()));
        curl_easy_setopt(handle_, CURLOPT_COPYPOSTFIELDS, body->data());
    }
    curl_easy_setopt(handle_, CURLOPT_CUSTOMREQUEST, method.c_str());
    curl_easy_setopt(handle_, CURLOPT_HTTPHEADER, list);
    curl_easy_setopt(handle_, CURLOPT_WRITEFUNCTION, collectBody);
    curl_easy_setopt(handle_, CURLOPT_WRITEDATA, &reply);
    curl_easy_setopt(handle_, CURLOPT_HEADERFUNCTION, collectHeader);
    curl_easy_setopt(handle_, CURLOPT_HEADERDATA, &reply);
    reply.error = curl_easy_perform(handle_);
    long status = 0;
    curl_easy_getinfo(handle_, CURLINFO_RESPONSE_CODE, &status);
    reply.status = static_cast<int>(status);
    curl_slist_free_all(list);
    return reply;
}

} // namespace devserver::test
