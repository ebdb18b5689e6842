#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "app/ConfigurationDraft.h"
#include "app/qt/DismissibleWindow.h"
#include "app/qt/settings/SettingsQuestions.h"

class QListWidget;
class QPushButton;
class QTabWidget;

namespace tidemark::qt {

class DraftPage;
class SignInPage;
class WrappedText;

/// The configurations, and one of them to be edited. What is typed becomes the configuration's when it is applied.
/// Main thread.
class SettingsWindow : public DismissibleWindow
{
    Q_OBJECT

public:
    /// The store outlives the window.
    struct Outside
    {
        BXSyncConfigManager& store;
        std::function<void(const std::string& name)> showLog;
        std::function<void()> showGeneralSettings;
    };

    explicit SettingsWindow(Outside outside, QWidget* parent = nullptr);

    void showConfiguration(const std::string& name);
    /// The store has changed; what is being typed stays.
    void reload();
    /// How a person is asked; for tests.
    void setAskUnsaved(std::function<UnsavedAnswer()> ask) { askUnsaved_ = std::move(ask); }
    void setAskYes(std::function<bool(const QString& question)> ask) { askYes_ = std::move(ask); }

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    QWidget* makeList();
    QWidget* makeEditor();
    QWidget* makeApplyRow();
    ConfigurationDraft draft() const;
    void load(const ConfigurationDraft& draft);
    void setModified(bool modified);
    /// False where a person wants to go on editing.
    bool leaveDraft();
    bool apply();
    /// Below their fields; the first such field is shown and gets the keyboard.
    void showProblems(const std::vector<ConfigurationDraft::Problem>& problems);
    void revert();
    void select(const QString& name);
    void showSelected(const QString& name);
    void selectionChanged();
    void beginNew(ConfigurationDraft draft);
    void duplicate();
    void removeSelected();
    QString unusedName(const QString& wish) const;
    void say(const QString& message);

    const Outside outside_;
    std::function<UnsavedAnswer()> askUnsaved_;
    std::function<bool(const QString&)> askYes_;
    QListWidget* list_ = nullptr;
    QTabWidget* tabs_ = nullptr;
    std::vector<DraftPage*> pages_;
    SignInPage* signIn_ = nullptr;
    WrappedText* message_ = nullptr;
    QPushButton* apply_ = nullptr;
    QPushButton* revert_ = nullptr;
    QPushButton* duplicate_ = nullptr;
    QPushButton* remove_ = nullptr;
    /// The name in the store of what is edited, "" for a new one; nothing while nothing is edited.
    std::optional<std::string> formerName_;
    ConfigurationDraft loaded_;
    bool isModified_ = false;
};

} // namespace tidemark::qt
