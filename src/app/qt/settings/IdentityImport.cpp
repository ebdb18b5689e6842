#include "app/qt/settings/IdentityImport.h"

#include "app/qt/Texts.h"
#include "app/qt/settings/FaultTexts.h"
#include "app/qt/settings/SettingsQuestions.h"
#include "platform/FileSystem.h"
#include "security/BXSyncCertificateManager.h"

namespace tidemark::qt {

namespace {

constexpr const char* table = "Settings";
constexpr std::int64_t largestDocument = 1024 * 1024;

bool isWrongPassphrase(const Result<IdentityStore::Identity>& added)
{
    return !added && added.error().domain == "Identity" && added.error().code == IdentityStore::wrongPassphrase;
}

ImportedIdentity refusal(const Error& error)
{
    if (error.domain != "Identity")
        return {.fault = text(table, "IMPORT_FAILED", {{"reason", toUtf8(reasonText(error))}})};
    return {.fault = text(table, error.code == IdentityStore::keyMismatch ? "IMPORT_OTHER_KEY" : "IMPORT_NO_IDENTITY")};
}

} // namespace

ImportedIdentity importIdentity(QWidget* parent)
{
    const auto path = chooseFile(parent, text(table, "IMPORT_TITLE"), text(table, "IMPORT_FILTER"));
    if (path.isEmpty()) return {};
    const auto document = fs::readFile(toUtf8(path), largestDocument);
    if (!document) return refusal(document.error());
    auto& certificates = BXSyncCertificateManager::getInstance();
    auto added = certificates.store().add(*document, "");
    for (const char* label = "PASSPHRASE"; isWrongPassphrase(added); label = "PASSPHRASE_WRONG") {
        const auto passphrase = askSecret(parent, text(table, "PASSPHRASE_TITLE"), text(table, label));
        if (!passphrase) return {};
        added = certificates.store().add(*document, toUtf8(*passphrase));
    }
    if (!added) return refusal(added.error());
    certificates.reloadCertifications();
    return {.identifier = added->identifier};
}

} // namespace tidemark::qt
