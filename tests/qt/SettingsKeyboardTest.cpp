// What the windows of the settings owe to somebody without a mouse or without a screen.

#include <gmock/gmock.h>

#include <map>

#include <QAbstractButton>
#include <QAbstractSpinBox>
#include <QAccessible>
#include <QApplication>
#include <QCheckBox>
#include <QGroupBox>
#include <QLabel>
#include <QTabWidget>
#include <QTest>

#include "app/qt/Texts.h"
#include "app/qt/settings/FirstRunAssistant.h"
#include "app/qt/settings/GlobalSettingsWindow.h"
#include "app/qt/settings/SettingsWindow.h"
#include "config/BXSyncConfigManager.h"
#include "platform/Localization.h"
#include "platform/UserDefaults.h"
#include "tests/support/TempTree.h"

namespace tidemark::qt {
namespace {

using Visit = std::function<void(QWidget& window)>;

class SettingsKeyboardTest : public ::testing::TestWithParam<const char*>
{
protected:
    SettingsKeyboardTest() { Localization::setLanguage(GetParam()); }
    ~SettingsKeyboardTest() override { Localization::setLanguage("en"); }

    /// Every window in each of its states that shows other controls.
    void forEachPage(const Visit& visit)
    {
        SettingsWindow settings({store, [](const std::string&) {}, [] {}});
        settings.show();
        button(settings, "NEW")->click();
        auto* tabs = settings.findChild<QTabWidget*>();
        for (auto* box : settings.findChildren<QCheckBox*>())
            box->setChecked(true);
        for (int page = 0; page < tabs->count(); ++page) {
            tabs->setCurrentIndex(page);
            visitNamed(settings, tabs->tabText(page), visit);
        }
        GlobalSettingsWindow general(global);
        general.show();
        visitNamed(general, general.windowTitle(), visit);
        FirstRunAssistant assistant(store);
        assistant.show();
        for (const int page : assistant.pageIds()) {
            assistant.setStartId(page);
            assistant.restart();
            visitNamed(assistant, assistant.currentPage()->title(), visit);
        }
    }
    static void visitNamed(QWidget& window, const QString& name, const Visit& visit)
    {
        SCOPED_TRACE(toUtf8(name));
        QApplication::processEvents();
        visit(window);
    }
    static QAbstractButton* button(const QWidget& window, const char* key)
    {
        for (auto* candidate : window.findChildren<QAbstractButton*>())
            if (candidate->text() == text("Settings", key)) return candidate;
        return nullptr;
    }
    static std::vector<QWidget*> controls(const QWidget& window)
    {
        std::vector<QWidget*> found;
        for (auto* widget : window.findChildren<QWidget*>())
            if (widget->isVisible() && widget->isEnabled() && (widget->focusPolicy() & Qt::TabFocus) &&
                !widget->focusProxy())
                found.push_back(widget);
        return found;
    }

    test::TempTree tree;
    BXSyncConfigManager store{tree.path("config")};
    UserDefaults defaults{tree.path("defaults.plist")};
    BXSyncGlobalConf global{defaults};
};

TEST_P(SettingsKeyboardTest, NoTwoThingsShownAtATimeHaveTheSameMnemonic)
{
    forEachPage([](QWidget& window) {
        std::map<QString, QStringList> byKey;
        const auto take = [&](const QString& shown) {
            const auto key = QKeySequence::mnemonic(shown).toString();
            if (!key.isEmpty()) byKey[key] << shown;
        };
        for (const auto* label : window.findChildren<QLabel*>())
            if (label->isVisible() && label->buddy()) take(label->text());
        for (const auto* button : window.findChildren<QAbstractButton*>())
            if (button->isVisible()) take(button->text());
        EXPECT_FALSE(byKey.empty());
        for (const auto& [key, shown] : byKey)
            EXPECT_EQ(shown.size(), 1) << toUtf8(shown.join(" and "));
    });
}

TEST_P(SettingsKeyboardTest, EveryFieldHasAMnemonicThatReachesItAndEveryControlAName)
{
    forEachPage([](QWidget& window) {
        for (const auto* label : window.findChildren<QLabel*>()) {
            if (!label->isVisible() || !label->text().contains('&')) continue;
            ASSERT_TRUE(label->buddy()) << toUtf8(label->text());
            EXPECT_TRUE(label->buddy()->focusPolicy() & Qt::TabFocus) << toUtf8(label->text());
        }
        for (auto* control : controls(window)) {
            auto* accessible = QAccessible::queryAccessibleInterface(control);
            ASSERT_TRUE(accessible);
            EXPECT_FALSE(accessible->text(QAccessible::Name).isEmpty()) << control->metaObject()->className();
        }
    });
}

/// Down the page, and along each row.
TEST_P(SettingsKeyboardTest, TabGoesThroughAPageInReadingOrder)
{
    forEachPage([](QWidget& window) {
        const auto all = controls(window);
        ASSERT_FALSE(all.empty());
        const auto* first = all.front();
        std::map<const QWidget*, const QWidget*> before;
        std::size_t seen = 0;
        for (const auto* widget = first; seen <= all.size();) {
            ++seen;
            const auto* next = widget->nextInFocusChain();
            while (next != first && std::ranges::find(all, next) == all.end())
                next = next->nextInFocusChain();
            if (next == first) break;
            before[next] = widget;
            widget = next;
        }
        EXPECT_EQ(seen, all.size());
        for (const auto& [widget, former] : before) {
            // Columns and boxes beside each other have their own order.
            if (widget->parentWidget() != former->parentWidget()) continue;
            const auto here = widget->mapTo(&window, QPoint()), there = former->mapTo(&window, QPoint());
            const bool isSameRow = here.y() < there.y() + former->height() && there.y() < here.y() + widget->height();
            EXPECT_TRUE(isSameRow ? here.x() > there.x() : here.y() > there.y())
                << toUtf8(former->accessibleName()) << " before " << toUtf8(widget->accessibleName());
        }
    });
}

TEST_P(SettingsKeyboardTest, NoTextIsCut)
{
    forEachPage([](QWidget& window) {
        for (const auto* label : window.findChildren<QLabel*>()) {
            if (!label->isVisible() || label->text().isEmpty()) continue;
            const auto needed = label->wordWrap() ? QSize(0, label->heightForWidth(label->width())) : label->sizeHint();
            EXPECT_LE(needed.width(), label->width()) << toUtf8(label->text());
            EXPECT_LE(needed.height(), label->height()) << toUtf8(label->text());
        }
        for (const auto* button : window.findChildren<QAbstractButton*>()) {
            if (!button->isVisible() || button->text().isEmpty()) continue;
            EXPECT_LE(button->minimumSizeHint().width(), button->width()) << toUtf8(button->text());
        }
    });
}

INSTANTIATE_TEST_SUITE_P(Languages, SettingsKeyboardTest, ::testing::Values("en", "de"),
                         [](const auto& parameter) { return std::string(parameter.param); });

} // namespace
} // namespace tidemark::qt
