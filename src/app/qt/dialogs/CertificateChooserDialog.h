#pragma once

#include <QDialog>

#include "security/BXSyncCertificateManager.h"

class QPushButton;
class QTableWidget;

namespace tidemark::qt {

/// The client certificates of this user as rows of label and issuer, of which one can be chosen. Main thread.
class CertificateChooserDialog : public QDialog, public CertificateChooser
{
    Q_OBJECT

public:
    explicit CertificateChooserDialog(QWidget* parent = nullptr);

    std::optional<std::size_t> runModal(const BXSyncCertificateManager& rows) override;

private:
    void fill(const BXSyncCertificateManager& rows);
    void showState();

    QTableWidget* const table_;
    QPushButton* choose_ = nullptr;
};

} // namespace tidemark::qt
