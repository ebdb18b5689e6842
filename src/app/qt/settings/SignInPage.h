#pragma once

#include <functional>
#include <memory>

#include "app/qt/settings/DraftPage.h"

class QCheckBox;
class QComboBox;
class QPushButton;

namespace tidemark {
struct ConnectionVerdict;
}

namespace tidemark::qt {

class ServerCheck;
class WrappedText;

/// How the server is reached: user and password, proxy, certificates; and a button that tries it.
class SignInPage : public DraftPage
{
    Q_OBJECT

public:
    /// The whole draft as it is at this moment.
    using Draft = std::function<ConfigurationDraft()>;

    explicit SignInPage(Draft draft, QWidget* parent = nullptr);
    ~SignInPage() override;

    void load(const ConfigurationDraft& draft) override;
    void store(ConfigurationDraft& draft) const override;

    /// An answer is about what was given when the server was asked.
    void forgetCheck();

private:
    QWidget* makeIdentityRow();
    QWidget* makeCheckRow();
    void fillIdentities(const std::string& chosen);
    void choose();
    void import();
    void showProxy();
    void startCheck();
    void checkEnded(const ConnectionVerdict& verdict, const ConfigurationDraft& asked);

    const Draft draft_;
    QLineEdit* const user_;
    QLineEdit* const password_;
    QComboBox* const identity_;
    FieldNote* identityNote_ = nullptr;
    QCheckBox* const ignoreCertificate_;
    QLabel* warning_ = nullptr;
    QCheckBox* const usesProxy_;
    QLineEdit* const proxyHost_;
    QLineEdit* const proxyPort_;
    QLineEdit* const proxyUser_;
    QLineEdit* const proxyPassword_;
    QPushButton* const check_;
    WrappedText* const answer_;
    std::unique_ptr<ServerCheck> running_;
};

} // namespace tidemark::qt
