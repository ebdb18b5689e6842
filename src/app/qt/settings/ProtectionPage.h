#pragma once

#include "app/qt/settings/DraftPage.h"

class QCheckBox;

namespace tidemark::qt {

/// Encryption, and what is logged where.
class ProtectionPage : public DraftPage
{
    Q_OBJECT

public:
    explicit ProtectionPage(QWidget* parent = nullptr);

    void load(const ConfigurationDraft& draft) override;
    void store(ConfigurationDraft& draft) const override;

private:
    QWidget* makeLogChooser();
    void showKey();

    QCheckBox* const encrypts_;
    QLineEdit* const key_;
    QLineEdit* const repeatedKey_;
    QLineEdit* const logFolder_;
    QLineEdit* const logDays_;
};

} // namespace tidemark::qt
