#include "config/ConfigurationFile.h"

#include "platform/FileSystem.h"

namespace tidemark::ConfigurationFile {

namespace {

constexpr std::string_view creationDateAttribute = "marlock.tidemark.creationdate";
constexpr std::int64_t sizeLimit = 16 * 1024 * 1024;

tl::unexpected<Error> notAConfiguration(const std::string& path)
{
    return failure(errorDomain, notConfiguration, path + ": not a configuration file");
}

} // namespace

Result<PropertyList::Dictionary> read(const std::string& path)
{
    const auto text = fs::readFile(path, sizeLimit);
    if (!text) return failure(text.error());
    auto document = PropertyList::parse(*text);
    auto* dictionary = document ? document->get<PropertyList::Dictionary>() : nullptr;
    if (!dictionary) return notAConfiguration(path);
    return std::move(*dictionary);
}

Status write(const std::string& path, const PropertyList::Dictionary& dictionary,
             std::optional<dates::Time> creationDate)
{
    const PropertyList content(dictionary);
    const auto text = content.toXml();
    // A text that XML cannot hold would leave a file that nobody can load again.
    if (PropertyList::parse(text) != content)
        return failure(errorDomain, notStorable, path + ": a value has characters that can not be stored");
    if (const auto replaced = fs::replaceFile(path, text, 0600); !replaced) return replaced;
    // Not every file system keeps attributes; the order of configurations then follows the birth times.
    if (creationDate) (void)fs::setExtendedAttribute(path, creationDateAttribute, dates::formatIsoDate(*creationDate));
    return {};
}

std::optional<dates::Time> creationDate(const std::string& path)
{
    if (const auto text = fs::extendedAttribute(path, creationDateAttribute))
        if (const auto recorded = dates::parseIsoDate(*text)) return recorded;
    if (const auto birth = fs::birthTime(path)) return dates::fromSeconds(*birth);
    const auto attributes = fs::attributes(path);
    if (!attributes) return std::nullopt;
    return dates::fromSeconds(attributes->modified);
}

} // namespace tidemark::ConfigurationFile
