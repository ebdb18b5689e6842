#include "platform/IdentityStore.h"

#include <algorithm>
#include <cctype>
#include <span>
#include <tuple>

#include "platform/Digest.h"
#include "platform/FileSystem.h"
#include "platform/IdentityStoreDocument.h"
#include "platform/PropertyList.h"

namespace tidemark {

namespace {

constexpr const char* labelKey = "label";
constexpr const char* certificateKey = "certificate";
constexpr const char* privateKeyKey = "privateKey";
constexpr std::string_view extension = ".identity";
constexpr std::size_t identifierLength = 64;

constexpr std::string_view commonName = "2.5.4.3";
constexpr std::string_view organisation = "2.5.4.10";

/// The only texts that become file names.
bool isIdentifier(std::string_view text)
{
    return text.size() == identifierLength && std::all_of(text.begin(), text.end(), [](unsigned char c) {
               return std::isdigit(c) != 0 || (c >= 'a' && c <= 'f');
           });
}

struct StoredIdentity
{
    std::string label;
    std::string certificate;
    std::string privateKey;
};

Result<StoredIdentity> readStored(const std::string& path)
{
    const auto text = fs::readFile(path, 1024 * 1024);
    if (!text) return failure(text.error());
    const auto document = PropertyList::parse(*text);
    if (!document) return failure(document.error());
    const auto* dictionary = document->get<PropertyList::Dictionary>();
    if (!dictionary) return failure("Identity", IdentityStore::unreadableDocument, path);
    auto value = [&](const char* key) {
        const auto found = dictionary->find(key);
        return found == dictionary->end() ? std::string{} : found->second.stringValue();
    };
    return StoredIdentity{value(labelKey), value(certificateKey), value(privateKeyKey)};
}

std::optional<IdentityStore::Identity> describe(const std::string& identifier, const StoredIdentity& stored)
{
    const auto fields = IdentityStoreDocument::readCertificate(stored.certificate);
    if (!fields) return std::nullopt;
    return IdentityStore::Identity{identifier, stored.label, IdentityStore::issuerName(fields->issuer), fields->subject,
                                   fields->expires};
}

} // namespace

IdentityStore::IdentityStore(std::string folder) : folder_(std::move(folder)) {}

std::string IdentityStore::pathOf(const std::string& identifier) const
{
    return fs::joinPath(folder_, identifier + std::string(extension));
}

Result<IdentityStore::Identity> IdentityStore::add(std::string_view document, const std::string& passphrase,
                                                   const std::string& label)
{
    const auto parsed = IdentityStoreDocument::parse(document, passphrase);
    if (!parsed) return failure(parsed.error());
    const auto fields = IdentityStoreDocument::readCertificate(parsed->certificate);
    if (!fields) return failure("Identity", unreadableDocument, "The certificate can not be read.");
    const auto identifier = fields->fingerprint;
    StoredIdentity stored{label.empty() ? parsed->friendlyName : label, parsed->certificate, parsed->privateKey};
    if (stored.label.empty()) stored.label = fields->commonName;
    if (const auto made = fs::createFolders(folder_, 0700); !made) return failure(made.error());
    const PropertyList content(PropertyList::Dictionary{
        {labelKey, stored.label}, {certificateKey, stored.certificate}, {privateKeyKey, stored.privateKey}});
    if (const auto written = fs::replaceFile(pathOf(identifier), content.toXml(), 0600); !written)
        return failure(written.error());
    return *describe(identifier, stored);
}

IdentityStore::Listing IdentityStore::list() const
{
    Listing listing;
    const auto entries = fs::listFolder(folder_);
    if (!entries) return listing;
    for (const auto& entry : *entries) {
        if (!entry.name.ends_with(extension)) continue;
        const auto identifier = entry.name.substr(0, entry.name.size() - extension.size());
        const auto path = fs::joinPath(folder_, entry.name);
        const auto stored = readStored(path);
        const auto identity = stored && isIdentifier(identifier) ? describe(identifier, *stored) : std::nullopt;
        if (identity)
            listing.identities.push_back(*identity);
        else
            listing.unreadable.push_back(path);
    }
    std::sort(listing.identities.begin(), listing.identities.end(), [](const Identity& a, const Identity& b) {
        return std::tie(a.label, a.identifier) < std::tie(b.label, b.identifier);
    });
    std::sort(listing.unreadable.begin(), listing.unreadable.end());
    return listing;
}

Status IdentityStore::remove(const std::string& identifier)
{
    if (!isIdentifier(identifier) || !fs::exists(pathOf(identifier)))
        return failure("Identity", unknownIdentity, "There is no such identity.");
    return fs::removeFile(pathOf(identifier));
}

Result<std::shared_ptr<const ClientIdentityPem>> IdentityStore::load(const std::string& identifier) const
{
    if (!isIdentifier(identifier) || !fs::exists(pathOf(identifier)))
        return failure("Identity", unknownIdentity, "There is no such identity.");
    auto stored = readStored(pathOf(identifier));
    if (!stored) return failure(stored.error());
    return std::make_shared<const ClientIdentityPem>(
        ClientIdentityPem{std::move(stored->certificate), std::move(stored->privateKey)});
}

std::optional<std::string> IdentityStore::issuerName(std::span<const NameEntry> entries)
{
    std::optional<std::string> name;
    for (const auto& entry : entries) {
        if (entry.oid == commonName) return entry.value;
        if (entry.oid == organisation) name = entry.value;
    }
    return name;
}

} // namespace tidemark
