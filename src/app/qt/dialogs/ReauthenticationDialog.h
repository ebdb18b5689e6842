#pragma once

#include <string>

#include <QDialog>

class QCheckBox;
class QLineEdit;

namespace tidemark::qt {

/// Asks for user and password after a sign-in was refused.
class ReauthenticationDialog : public QDialog
{
    Q_OBJECT

public:
    /// `message` says who asks and why; `keeps` whether the check box for keeping the answer is ticked.
    ReauthenticationDialog(const QString& message, const QString& user, bool keeps = false, QWidget* parent = nullptr);

    /// False when dismissed.
    bool ask();
    std::string user() const;
    std::string password() const;
    bool keeps() const;

private:
    QLineEdit* user_ = nullptr;
    QLineEdit* password_ = nullptr;
    QCheckBox* keeps_ = nullptr;
};

} // namespace tidemark::qt
