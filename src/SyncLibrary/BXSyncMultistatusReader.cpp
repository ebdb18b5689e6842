#include "SyncLibrary/BXSyncMultistatusReader.h"

#include <algorithm>
#include <charconv>
#include <unordered_map>

#include "SyncLibrary/BXSyncUtils.h"
#include "davclient/ASXMLDomNode.h"
#include "davclient/ASXMLDomParser.h"
#include "platform/Unicode.h"

namespace tidemark {

namespace {

constexpr const char* errorDomain = "BXSyncMultistatusReader";

std::string_view trimmed(std::string_view text)
{
    constexpr std::string_view blanks = " \t\r\n";
    const auto first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

bool isAbsolute(std::string_view href)
{
    const auto scheme = caseFold(href.substr(0, 8));
    return scheme.starts_with("http://") || scheme.starts_with("https://");
}

/// From the first "/" behind the host on, as it is written.
std::string_view pathOfAbsolute(std::string_view href)
{
    const auto path = href.find('/', href.find("://") + 3);
    return path == std::string_view::npos ? "/" : href.substr(path);
}

std::string_view lastComponent(std::string_view path)
{
    while (path.ends_with('/'))
        path.remove_suffix(1);
    return path.substr(path.rfind('/') + 1);
}

std::int64_t readSize(std::string_view text)
{
    text = trimmed(text);
    std::int64_t size = 0;
    const auto parsed = std::from_chars(text.data(), text.data() + text.size(), size);
    return parsed.ec == std::errc{} ? std::max<std::int64_t>(size, 0) : 0;
}

dates::Seconds readTime(std::string_view text)
{
    const auto time = BXSyncUtils::parseLastmodifiedDate(trimmed(text));
    return time ? dates::toSeconds(*time) : 0.0;
}

/// "200" of "HTTP/1.1 200 OK"; empty without a status.
std::string_view statusCode(const ASXMLDomNode& node)
{
    const auto* status = node.findFirstName("status");
    if (status == nullptr) return {};
    const auto text = trimmed(status->elementValue());
    const auto blank = text.find(' ');
    return blank == std::string_view::npos ? std::string_view() : text.substr(blank + 1, 3);
}

bool isGood(std::string_view code)
{
    return code.empty() || code.starts_with('2');
}

bool isGone(std::string_view code)
{
    return code == "404" || code == "410";
}

/// The properties that the server has: those of the first group with a good status or none, else of the first group.
const ASXMLDomNode* propertiesOf(const ASXMLDomNode& response)
{
    for (const auto* group : response.findName("propstat"))
        if (isGood(statusCode(*group))) return group->findFirstName("prop");
    return response.findFirstXName("propstat/prop");
}

bool isMissing(const ASXMLDomNode& response)
{
    return response.findFirstName("propstat") == nullptr && isGone(statusCode(response));
}

/// The entry is there but the server does not show what it is: it must pass neither for deleted nor for an empty file.
bool isRefused(const ASXMLDomNode& response)
{
    const auto refuses = [](std::string_view code) { return !isGood(code) && !isGone(code); };
    const auto groups = response.findName("propstat");
    if (groups.empty()) return refuses(statusCode(response));
    const auto code = [](const ASXMLDomNode* group) { return statusCode(*group); };
    return std::ranges::none_of(groups, isGood, code) && std::ranges::any_of(groups, refuses, code);
}

bool isPlainName(std::string_view name)
{
    return !name.empty() && name.find('/') == std::string_view::npos && name.find('\0') == std::string_view::npos &&
           isUtf8(name);
}

/// Leaves one item for each NFC name: the one that is spelled so, else the first.
void removeDuplicates(BXSyncMultistatusReader::Listing& listing)
{
    std::unordered_map<std::string, std::size_t> seen;
    std::vector<BXSyncWebDAVFileItem> unique;
    unique.reserve(listing.items.size());
    for (auto& item : listing.items) {
        const auto plain = percentDecode(item.path).value_or(item.path);
        const auto nfc = toNfc(plain);
        const auto [entry, isNew] = seen.emplace(nfc, unique.size());
        if (isNew) {
            unique.push_back(std::move(item));
            continue;
        }
        listing.remarks.push_back("The server lists a name twice. Skipped. path:" + plain);
        if (plain == nfc && percentDecode(unique[entry->second].path) != plain) unique[entry->second] = std::move(item);
    }
    listing.items = std::move(unique);
}

} // namespace

struct BXSyncMultistatusReader::Href
{
    /// As it is written, without scheme and host.
    std::string_view path;
    bool isSelf = false;
};

std::string BXSyncMultistatusReader::requestBody()
{
    return std::string("<?xml version=\"1.0\" encoding=\"utf-8\" ?>") + "<D:propfind xmlns:D=\"DAV:\" xmlns:E=\"" +
           BXSyncUtils::propertyNamespace +
           "\">"
           "<D:prop>"
           "<D:getlastmodified/>"
           "<E:SyncDate/>"
           "<D:resourcetype/>"
           "<D:getcontentlength/>"
           "<E:suspend/>"
           "</D:prop>"
           "<D:include><D:supported-live-property-set/><D:supported-report-set/></D:include>"
           "</D:propfind>";
}

BXSyncMultistatusReader::BXSyncMultistatusReader(Url folder, std::string marlockVersion)
    : folder_(folder.withoutTrailingSlash()), folderPath_(folder_.path()), knownVersion_(!marlockVersion.empty())
{
}

Result<BXSyncMultistatusReader::Listing> BXSyncMultistatusReader::read(std::string_view body, bool includeSelf) const
{
    ASXMLDomParser parser;
    parser.parse(body);
    if (parser.error() || !parser.rootElement())
        return failure(errorDomain, 1, "XML parse error. path:" + folder_.absoluteString());
    Listing listing;
    for (const auto* response : parser.rootElement()->findName("response"))
        if (auto status = readResponse(*response, includeSelf, listing); !status)
            return failure(std::move(status.error()));
    removeDuplicates(listing);
    return listing;
}

Status BXSyncMultistatusReader::readResponse(const ASXMLDomNode& response, bool includeSelf, Listing& listing) const
{
    const auto* hrefNode = response.findFirstName("href");
    const auto href = readHref(hrefNode ? trimmed(hrefNode->elementValue()) : std::string_view{});
    if (!href) return failure(href.error());
    if (isMissing(response) || (href->isSelf && !includeSelf)) return {};
    if (isRefused(response))
        return failure(errorDomain, 3,
                       "The server does not show an entry. folder:" + folder_.absoluteString() +
                           " href:" + escapeControls(href->path));
    const auto name = href->isSelf ? std::string{} : decode(lastComponent(href->path));
    if (!href->isSelf && name && name->starts_with('.')) return {};
    if (!href->isSelf && !(name && isPlainName(*name))) {
        listing.remarks.push_back("The server lists a name that no file can have. Skipped. folder:" +
                                  folder_.absoluteString() + " href:" + escapeControls(href->path));
        return {};
    }
    auto item = readProperties(response);
    item.path = href->isSelf ? folder_.absoluteString() : folder_.appendingPathComponent(*name).absoluteString();
    listing.items.push_back(std::move(item));
    return {};
}

Result<BXSyncMultistatusReader::Href> BXSyncMultistatusReader::readHref(std::string_view text) const
{
    Href href{text};
    if (isAbsolute(text)) {
        const auto url = Url::parse(text);
        if (url && url->host() != folder_.host())
            return failure(errorDomain, 2,
                           "The server lists an entry of another server. path:" + folder_.absoluteString() +
                               " href:" + escapeControls(text));
        href.path = pathOfAbsolute(text);
    }
    const auto plain = decode(href.path);
    href.isSelf = !href.path.empty() && plain && BXSyncUtils::isEqualHref(*plain, folderPath_);
    return href;
}

/// On a server without the product's extensions "+" is a plus.
std::optional<std::string> BXSyncMultistatusReader::decode(std::string_view text) const
{
    return knownVersion_ ? BXSyncUtils::stringByDecodingURLFormat(text) : percentDecode(text);
}

BXSyncWebDAVFileItem BXSyncMultistatusReader::readProperties(const ASXMLDomNode& response) const
{
    BXSyncWebDAVFileItem item;
    const auto* properties = propertiesOf(response);
    if (properties == nullptr) return item;
    std::optional<dates::Seconds> syncTime;
    for (const auto& property : properties->children()) {
        const auto& name = property->elementName();
        const auto& value = property->elementValue();
        if (name == "getlastmodified")
            item.time = readTime(value);
        else if (name == "syncdate" && !trimmed(value).empty())
            syncTime = readTime(value);
        else if (name == "resourcetype")
            item.isFolder = property->findFirstName("collection") != nullptr;
        else if (name == "getcontentlength")
            item.size = readSize(value);
        else if (name == "suspend")
            item.suspend = value == "1";
    }
    // A server with the extensions keeps its own time equal to the local one; elsewhere the property does that.
    if (!knownVersion_ && syncTime) item.time = *syncTime;
    return item;
}

} // namespace tidemark
