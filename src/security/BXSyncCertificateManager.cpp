#include "security/BXSyncCertificateManager.h"

#include "Utils/BXTidemarkUtils.h"
#include "platform/FileSystem.h"
#include "platform/Localization.h"

namespace tidemark {

namespace {

constexpr const char* identityFolder = "identities";

std::string valueOf(const std::map<std::string, std::string>& texts, const std::string& key)
{
    const auto found = texts.find(key);
    return found == texts.end() ? std::string{} : found->second;
}

} // namespace

BXSyncCertificateManager& BXSyncCertificateManager::getInstance()
{
    static BXSyncCertificateManager instance{
        IdentityStore(fs::joinPath(BXTidemarkUtils::configDirectory(), identityFolder))};
    return instance;
}

BXSyncCertificateManager::BXSyncCertificateManager(IdentityStore store) : store_(std::move(store)) {}

void BXSyncCertificateManager::reloadCertifications()
{
    std::lock_guard lock(mutex_);
    certIds_.clear();
    labels_.clear();
    issrs_.clear();
    certificates_.clear();
    const auto unknownIssuer = Localization::text("TidemarkResource", "UNKNOWN_ISSR_CERTIFICATE");
    for (const auto& identity : store_.list().identities) {
        const auto certificate = store_.load(identity.identifier);
        if (!certificate) continue;
        certIds_.push_back(identity.identifier);
        labels_[identity.identifier] = identity.label;
        issrs_[identity.identifier] = identity.issuer.value_or(unknownIssuer);
        certificates_[identity.identifier] = *certificate;
    }
}

std::optional<BXSyncCertificateManager::Certificates> BXSyncCertificateManager::getCert(const std::string& identifier)
{
    if (identifier.empty()) return std::nullopt;
    if (auto found = loadedCert(identifier)) return found;
    // Another process may have added it since the last load.
    reloadCertifications();
    return loadedCert(identifier);
}

std::optional<BXSyncCertificateManager::Certificates>
BXSyncCertificateManager::loadedCert(const std::string& identifier) const
{
    std::lock_guard lock(mutex_);
    const auto found = certificates_.find(identifier);
    if (found == certificates_.end()) return std::nullopt;
    return Certificates{found->second};
}

std::optional<std::string> BXSyncCertificateManager::selectCert(CertificateChooser& chooser)
{
    reloadCertifications();
    const auto identifiers = certIds();
    if (identifiers.empty()) {
        notFindDialog();
        return std::nullopt;
    }
    const auto row = chooser.runModal(*this);
    if (!row || *row >= identifiers.size()) return std::nullopt;
    return identifiers[*row];
}

void BXSyncCertificateManager::notFindDialog() const
{
    BXTidemarkUtils::showErrorAlert("NOT_FOUND_CLIENT_CERTIFICATE");
}

std::vector<std::string> BXSyncCertificateManager::certIds() const
{
    std::lock_guard lock(mutex_);
    return certIds_;
}

std::size_t BXSyncCertificateManager::numberOfRowsInTableView() const
{
    return certIds().size();
}

std::string BXSyncCertificateManager::tableView(const std::string& column, std::size_t row) const
{
    std::lock_guard lock(mutex_);
    if (row >= certIds_.size()) return {};
    return valueOf(column == "issr" ? issrs_ : labels_, certIds_[row]);
}

} // namespace tidemark
