#pragma once

#include <memory>

#include <QDialog>

#include "platform/HttpStream.h"

namespace tidemark::qt {

/// Shows whose certificate it is and asks whether to trust it all the same; "no" is what Return and Escape mean.
class CertificateTrustDialog : public QDialog
{
    Q_OBJECT

public:
    /// `certificate` may be null; `question` "" asks about the run that is under way.
    CertificateTrustDialog(const QString& server, const std::shared_ptr<const ServerCertificate>& certificate,
                           QWidget* parent = nullptr, const QString& question = {});

    bool ask();
};

} // namespace tidemark::qt
