#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/HttpStream.h"
#include "platform/IdentityStore.h"

namespace tidemark {

class BXSyncCertificateManager;

/// The window that lets the user pick one of the manager's rows. Main thread.
class CertificateChooser
{
public:
    virtual ~CertificateChooser() = default;
    /// The chosen row, or nothing when dismissed; closed when it returns.
    virtual std::optional<std::size_t> runModal(const BXSyncCertificateManager& rows) = 0;
};

/// The client identities of this user, by the identifier that a configuration stores. Any thread, except selectCert.
class BXSyncCertificateManager
{
public:
    /// A client's identity alone, without intermediate certificates.
    using Certificates = std::vector<std::shared_ptr<const ClientIdentityPem>>;

    /// The shared instance, over the identity folder below the configuration directory.
    static BXSyncCertificateManager& getInstance();
    explicit BXSyncCertificateManager(IdentityStore store);

    IdentityStore& store() { return store_; }

    void reloadCertifications();
    /// One identity, or nothing for "" and for an identifier that the store does not have.
    std::optional<Certificates> getCert(const std::string& identifier);
    /// Lets the user choose; without identities shows "NOT_FOUND_CLIENT_CERTIFICATE". Main thread.
    std::optional<std::string> selectCert(CertificateChooser& chooser);
    void notFindDialog() const;

    std::vector<std::string> certIds() const;
    std::size_t numberOfRowsInTableView() const;
    /// The issuer for column "issr", the label for any other; "" beyond the rows.
    std::string tableView(const std::string& column, std::size_t row) const;

private:
    std::optional<Certificates> loadedCert(const std::string& identifier) const;

    IdentityStore store_;
    mutable std::mutex mutex_; // guards all below
    std::vector<std::string> certIds_;
    std::map<std::string, std::string> labels_;
    std::map<std::string, std::string> issrs_;
    std::map<std::string, std::shared_ptr<const ClientIdentityPem>> certificates_;
};

} // namespace tidemark
