#pragma once

#include <string>

#include <QDialog>

class QLineEdit;

namespace tidemark::qt {

/// Asks for user and password after a sign-in was refused.
class ReauthenticationDialog : public QDialog
{
    Q_OBJECT

public:
    /// `message` says who asks and why.
    ReauthenticationDialog(const QString& message, const QString& user, QWidget* parent = nullptr);

    /// False when dismissed.
    bool ask();
    std::string user() const;
    std::string password() const;

private:
    QLineEdit* user_ = nullptr;
    QLineEdit* password_ = nullptr;
};

} // namespace tidemark::qt
