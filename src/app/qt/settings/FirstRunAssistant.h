#pragma once

#include <memory>
#include <string>

#include <QWizard>

#include "app/qt/settings/FieldNotes.h"

class QComboBox;
class QLineEdit;

namespace tidemark {
struct ConnectionVerdict;
}

namespace tidemark::qt {

class ServerCheck;
class WrappedText;

/// Leads to the first configuration: the server and how to sign in, a check, the folder and the direction. Main thread.
class FirstRunAssistant : public QWizard
{
    Q_OBJECT

public:
    /// The store outlives the assistant.
    explicit FirstRunAssistant(BXSyncConfigManager& store, QWidget* parent = nullptr);
    ~FirstRunAssistant() override;

    /// "" until one was made.
    const std::string& createdName() const { return createdName_; }

    bool validateCurrentPage() override;
    void accept() override;
    void done(int result) override;
    void initializePage(int id) override;

private:
    enum Page
    {
        serverPage,
        folderPage,
        donePage
    };

    QWizardPage* makeServerPage();
    QWizardPage* makeFolderPage();
    QWizardPage* makeDonePage();
    ConfigurationDraft draft() const;
    void startCheck();
    void checkEnded(const ConnectionVerdict& verdict);
    /// Says below the fields of a page what is wrong with them.
    bool isWithoutProblems(const FieldNotes& notes) const;
    void serverEdited();

    BXSyncConfigManager& store_;
    QLineEdit* url_ = nullptr;
    QLineEdit* user_ = nullptr;
    QLineEdit* password_ = nullptr;
    WrappedText* answer_ = nullptr;
    QLineEdit* name_ = nullptr;
    QLineEdit* local_ = nullptr;
    QComboBox* mode_ = nullptr;
    FieldNotes serverNotes_;
    FieldNotes folderNotes_;
    WrappedText* chosenUrl_ = nullptr;
    WrappedText* chosenLocal_ = nullptr;
    WrappedText* chosenMode_ = nullptr;
    FieldNote* failure_ = nullptr;
    std::unique_ptr<ServerCheck> check_;
    /// A person trusts the server at `url_` all the same.
    bool ignoresCertificate_ = false;
    /// The server let us in with what was typed.
    bool isChecked_ = false;
    std::string createdName_;
};

} // namespace tidemark::qt
