// Whoever cannot see a window hears the name of the control that has the keyboard.

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QAbstractSpinBox>
#include <QAccessible>
#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QMenu>
#include <QSet>
#include <QWizard>

#include "SyncLibrary/BXSyncQuestions.h"
#include "app/BXSyncProgressModel.h"
#include "app/SyncItems.h"
#include "app/qt/MenuWindow.h"
#include "app/qt/StatusMenu.h"
#include "app/qt/Texts.h"
#include "app/qt/VersionWindow.h"
#include "app/qt/dialogs/CertificateTrustDialog.h"
#include "app/qt/dialogs/ConflictDialog.h"
#include "app/qt/dialogs/MessageBoxDialog.h"
#include "app/qt/dialogs/ReauthenticationDialog.h"
#include "app/qt/logs/LogViewer.h"
#include "app/qt/logs/ReportDialog.h"
#include "app/qt/progress/ProgressWindow.h"
#include "app/qt/progress/SyncListWindow.h"
#include "app/qt/settings/FirstRunAssistant.h"
#include "app/qt/settings/GlobalSettingsWindow.h"
#include "app/qt/settings/SettingsWindow.h"
#include "config/BXSyncConfigManager.h"
#include "config/BXSyncGlobalConf.h"
#include "platform/Localization.h"
#include "platform/UserDefaults.h"
#include "tests/support/TempTree.h"

namespace tidemark::qt {
namespace {

/// The field inside of another control goes by that one's name.
bool isPartOfAnother(const QWidget& widget)
{
    const auto* parent = widget.parentWidget();
    return qobject_cast<const QAbstractSpinBox*>(parent) || qobject_cast<const QComboBox*>(parent) ||
           qobject_cast<const QComboBox*>(parent ? parent->parentWidget() : nullptr);
}

/// Mnemonics by the window they are pressed in: on tabs and wizard pages only one of which is shown, by page.
const QWidget* placeOf(const QWidget& widget)
{
    for (auto* at = widget.parentWidget(); at; at = at->parentWidget())
        if (at->isWindow() || qobject_cast<const QWizardPage*>(at) ||
            (at->parentWidget() && at->parentWidget()->inherits("QStackedWidget")))
            return at;
    return nullptr;
}

void expectNames(const QWidget& window)
{
    QSet<std::pair<const QWidget*, QString>> mnemonics;
    for (auto* widget : window.findChildren<QWidget*>()) {
        const auto* label = qobject_cast<const QLabel*>(widget);
        const auto* button = qobject_cast<const QAbstractButton*>(widget);
        const auto shown = button ? button->text() : label && label->buddy() ? label->text() : QString();
        const auto key = QKeySequence::mnemonic(shown).toString();
        if (!key.isEmpty()) {
            EXPECT_FALSE(mnemonics.contains({placeOf(*widget), key})) << toUtf8(window.windowTitle() + ": " + shown);
            mnemonics.insert({placeOf(*widget), key});
        }
        if ((widget->focusPolicy() & Qt::TabFocus) == 0 || widget->focusProxy() || isPartOfAnother(*widget)) continue;
        auto* spoken = QAccessible::queryAccessibleInterface(widget);
        ASSERT_NE(spoken, nullptr);
        EXPECT_FALSE(spoken->text(QAccessible::Name).isEmpty())
            << toUtf8(window.windowTitle()) << ": " << widget->metaObject()->className() << " "
            << toUtf8(widget->objectName());
    }
}

struct AccessibilityTest : ::testing::TestWithParam<const char*>
{
    AccessibilityTest() { Localization::setLanguage(GetParam()); }
    ~AccessibilityTest() override { Localization::setLanguage("en"); }

    test::TempTree tree;
    UserDefaults defaults{tree.path("defaults.plist")};
    BXSyncGlobalConf settings{defaults};
    BXSyncConfigManager store{tree.path("store")};
};

INSTANTIATE_TEST_SUITE_P(Languages, AccessibilityTest, ::testing::Values("en", "de"));

TEST_P(AccessibilityTest, everyControlOfAQuestionHasAName)
{
    const BXSyncFileDataInfo item;
    const auto certificate = std::make_shared<ServerCertificate>();
    certificate->subject = certificate->issuer = "CN=host";
    certificate->fingerprint = "AB:CD";
    expectNames(ConflictDialog(BXSyncQuestions::conflict(item, "f", {})));
    expectNames(MessageBoxDialog("DELETE_CONFIRMATION", BXSyncQuestions::deleteOnServer(item, "f", SyncMode::twoWay)));
    expectNames(MessageBoxDialog("ERROR", BXSyncQuestions::reconnect(10)));
    expectNames(ReauthenticationDialog("?", "user"));
    expectNames(CertificateTrustDialog("server", certificate));
}

TEST_P(AccessibilityTest, everyControlOfAWindowHasAName)
{
    BXSyncProgressModel model;
    SyncItems items;
    StatusMenu menu([] { return std::vector<std::string>(); }, [](StatusMenuEntry::Action, const std::string&) {});
    expectNames(MenuWindow(menu));
    expectNames(VersionWindow());
    expectNames(ProgressWindow(model, items));
    expectNames(SyncListWindow());
    expectNames(LogViewer(store, settings));
    expectNames(ReportDialog(store, settings));
    expectNames(SettingsWindow({store, [](const std::string&) {}, [] {}}));
    expectNames(GlobalSettingsWindow(settings));
    expectNames(FirstRunAssistant(store));
}

} // namespace
} // namespace tidemark::qt
