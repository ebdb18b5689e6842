#include "SyncLibrary/BXSyncUtils.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <fstream>
#include <span>
#include <vector>

#include "Utils/MessageTemplate.h"
#include "platform/Digest.h"
#include "platform/FileSystem.h"
#include "platform/Url.h"

namespace tidemark {

namespace {

constexpr std::size_t digestBlock = 1'048'576;
/// What stays as it is in a URL text beside letters and digits.
constexpr std::string_view urlCharacters = "-_.!~*'();/?:@&=+$,";

std::string_view withoutTrailingSlashes(std::string_view text)
{
    while (text.ends_with('/'))
        text.remove_suffix(1);
    return text;
}

bool isAsciiAlphanumeric(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

/// The text under which a file's present time is marked; nothing where there is no file.
std::optional<std::string> suspendMarkOf(const std::string& path)
{
    const auto attributes = fs::attributes(path);
    if (!attributes) return std::nullopt;
    return BXSyncUtils::lastmodifiedDateStringFromDate(dates::fromSeconds(attributes->modified));
}

std::string setElements(const BXSyncUtils::PropertyMap& properties)
{
    std::string elements;
    for (const auto& [name, value] : properties)
        if (value) elements += "<Z:" + name + ">" + *value + "</Z:" + name + ">";
    return elements;
}

std::string removeElements(const BXSyncUtils::PropertyMap& properties)
{
    std::string elements;
    for (const auto& [name, value] : properties)
        if (!value) elements += "<Z:" + name + "/>";
    return elements;
}

} // namespace

std::optional<dates::Time> BXSyncUtils::parseLastmodifiedDate(std::string_view text)
{
    return dates::parseHttpDate(text);
}

std::string BXSyncUtils::lastmodifiedDateStringFromDate(dates::Time date)
{
    return dates::formatHttpDate(date);
}

std::optional<dates::Time> BXSyncUtils::dateFromDateISO(std::string_view text)
{
    return dates::parseIsoDate(text);
}

std::string BXSyncUtils::getStringForShow(dates::Time date, std::string_view format)
{
    return dates::formatLocal(date, format);
}

std::int64_t BXSyncUtils::weekday(dates::Time date)
{
    return dates::localFields(date).weekday;
}

std::string BXSyncUtils::localizeAndReplacementMessage(const std::string& key, const ReplaceMap& map)
{
    return localizeAndReplacementMessage(key, defaultTable, map);
}

std::string BXSyncUtils::localizeAndReplacementMessage(const std::string& key, const std::string& table,
                                                       const ReplaceMap& map)
{
    return localizeAndFill(key, table, map);
}

bool BXSyncUtils::isEqualHref(std::string_view a, std::string_view b)
{
    return withoutTrailingSlashes(a) == withoutTrailingSlashes(b);
}

Result<std::string> BXSyncUtils::getMD5FromLocalFile(const std::string& path, std::uint64_t start, std::uint64_t end)
{
    std::ifstream file(path, std::ios::binary);
    if (!file) return posixFailure(errno, path);
    if (end == 0) end = static_cast<std::uint64_t>(file.seekg(0, std::ios::end).tellg());
    Md5 digest;
    std::vector<char> block(digestBlock);
    file.seekg(static_cast<std::streamoff>(start));
    for (auto position = start; position < end;) {
        const auto wanted = std::min<std::uint64_t>(block.size(), end - position);
        file.read(block.data(), static_cast<std::streamsize>(wanted));
        const auto got = static_cast<std::size_t>(file.gcount());
        if (got == 0) return failure("POSIX", EIO, path + ": ends before the range to digest does");
        digest.update(std::as_bytes(std::span(block.data(), got)));
        position += got;
    }
    return hexLower(digest.finish());
}

std::optional<std::string> BXSyncUtils::createProppatchXML(const PropertyMap& properties)
{
    if (properties.empty()) return std::nullopt;
    std::string xml = "<?xml version=\"1.0\" ?><D:propertyupdate xmlns:D=\"DAV:\" xmlns:Z=\"";
    xml += propertyNamespace;
    xml += "\">";
    if (const auto elements = setElements(properties); !elements.empty())
        xml += "<D:set><D:prop>" + elements + "</D:prop></D:set>";
    if (const auto elements = removeElements(properties); !elements.empty())
        xml += "<D:remove><D:prop>" + elements + "</D:prop></D:remove>";
    return xml + "</D:propertyupdate>";
}

bool BXSyncUtils::addSuspendFlag(const std::string& path)
{
    const auto mark = suspendMarkOf(path);
    return mark && fs::setExtendedAttribute(path, suspendAttribute, *mark);
}

bool BXSyncUtils::isSuspendedFile(const std::string& path)
{
    const auto stored = fs::extendedAttribute(path, suspendAttribute);
    if (!stored) return false;
    if (suspendMarkOf(path) == stored) return true;
    removeSuspendFlag(path);
    return false;
}

void BXSyncUtils::removeSuspendFlag(const std::string& path)
{
    // Without the mark the file is an ordinary one; a mark that could not be removed is stale with the next change.
    static_cast<void>(fs::removeExtendedAttribute(path, suspendAttribute));
}

std::optional<std::string> BXSyncUtils::stringByDecodingURLFormat(std::string_view text)
{
    std::string blanks(text);
    std::replace(blanks.begin(), blanks.end(), '+', ' ');
    return percentDecode(blanks);
}

std::string BXSyncUtils::stringByEncodingURLFormat(std::string_view text, bool all)
{
    std::string encoded;
    for (const char c : text) {
        const bool stays = isAsciiAlphanumeric(c) || urlCharacters.find(c) != std::string_view::npos;
        if (stays && !(all && c == ':'))
            encoded += c;
        else
            encoded += percentEncodeComponent(std::string_view(&c, 1));
    }
    return encoded;
}

} // namespace tidemark
