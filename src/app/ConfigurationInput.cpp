#include "app/ConfigurationInput.h"

#include <algorithm>
#include <filesystem>

#include "config/BXSyncConf.h"
#include "config/BXSyncConfigManager.h"
#include "platform/Unicode.h"

namespace tidemark {

namespace {

tl::unexpected<std::string> refusal(std::string text)
{
    return tl::unexpected<std::string>(std::move(text));
}

std::string_view authorityOf(std::string_view url)
{
    const auto begin = url.find("//");
    if (begin == std::string_view::npos) return {};
    const auto rest = url.substr(begin + 2);
    return rest.substr(0, rest.find_first_of("/?#"));
}

/// Whether a scan of `folder` comes by `path`: names that begin with "." are left alone.
bool isScanned(const std::string& path, const std::string& folder)
{
    return isAtOrBelow(path, folder) && path.find("/.", folder == "/" ? 0 : folder.size()) == std::string::npos;
}

std::string canonicalUrl(const std::string& url)
{
    const auto checked = checkedUrl(url);
    return checked ? checked->absoluteString() : url;
}

} // namespace

Checked<std::string> checkedName(std::string_view name)
{
    auto composed = toNfc(name);
    if (const auto status = BXSyncConfigManager::checkName(composed); !status)
        return refusal(status.error().description());
    return composed;
}

Checked<Url> checkedUrl(const std::string& text)
{
    // What is wrong with such a URL is not shown: it may hold a password.
    if (authorityOf(text).find('@') != std::string_view::npos) return refusal("the URL cannot hold a user or password");
    if (text.find_first_of("?#") != std::string::npos)
        return refusal("the URL cannot hold a query or fragment; write \"?\" as %3F and \"#\" as %23");
    auto url = Url::parse(text);
    if (!url) return refusal("that is not an http or https URL: " + text);
    return *url;
}

Checked<std::string> checkedFolder(const std::string& path, const std::string& workingDirectory)
{
    if (path.empty()) return refusal("a folder's path cannot be empty");
    if (!isUtf8(path) || path.find('\0') != std::string::npos) return refusal("a folder's path must be UTF-8 text");
    auto absolute = (std::filesystem::path(workingDirectory) / path).lexically_normal().string();
    while (absolute.size() > 1 && absolute.back() == '/')
        absolute.pop_back();
    return absolute;
}

bool isProxyHost(std::string_view host)
{
    const bool isBracketed = host.size() > 2 && host.front() == '[' && host.back() == ']';
    return !host.empty() && host.find_first_of("/@ ") == std::string_view::npos &&
           (isBracketed || host.find(':') == std::string_view::npos);
}

bool isAtOrBelow(std::string_view path, std::string_view folder)
{
    if (folder.empty()) return false;
    if (folder == "/" || path == folder) return true;
    return path.starts_with(folder) && path.size() > folder.size() && path[folder.size()] == '/';
}

Checked<void> checkLocalFolder(const BXSyncConf& conf, const BXSyncConfigManager& store)
{
    if (isAtOrBelow(conf.localPath(), store.directory()) || isScanned(store.directory(), conf.localPath()))
        return tl::unexpected("the local folder " + conf.localPath() +
                              " overlaps with the folder of the configurations, " + store.directory());
    return {};
}

void pairFolders(BXSyncConf& conf, const std::string& url, const std::string& localFolder)
{
    const bool isSameUrl = canonicalUrl(conf.serverURL()) == url;
    const bool isSameFolder = checkedFolder(conf.localPath(), "/").value_or("") == localFolder;
    if (!isSameUrl || !isSameFolder) conf.setDiscardPsi(true);
    conf.setServerURL(url);
    conf.setLocalPath(localFolder);
}

} // namespace tidemark
