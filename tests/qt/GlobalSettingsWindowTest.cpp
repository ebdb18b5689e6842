#include "app/qt/settings/GlobalSettingsWindow.h"

#include <filesystem>

#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QSpinBox>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include "platform/UserDefaults.h"

namespace tidemark::qt {
namespace {

struct GlobalSettingsWindowTest : ::testing::Test
{
    GlobalSettingsWindowTest()
    {
        qputenv("XDG_CONFIG_HOME", folder.path().toUtf8());
        window = std::make_unique<GlobalSettingsWindow>(settings);
        window->show();
    }
    ~GlobalSettingsWindowTest() override { qunsetenv("XDG_CONFIG_HOME"); }

    template <class T>
    T* named(const QString& part) const
    {
        for (auto* widget : window->findChildren<T*>())
            if (widget->accessibleName().contains(part)) return widget;
        return nullptr;
    }
    QAbstractButton* button(const QString& label, const QWidget* of = nullptr) const
    {
        for (auto* button : (of ? of : window.get())->findChildren<QAbstractButton*>())
            if (button->text().remove('&').contains(label)) return button;
        return nullptr;
    }
    static void type(QLineEdit* field, const QString& text)
    {
        field->setFocus();
        field->selectAll();
        QTest::keyClicks(field, text);
    }
    QString fault() const
    {
        QStringList shown;
        for (const auto* label : window->findChildren<QLabel*>())
            if (label->isVisible() && label->text().contains("must be")) shown << label->text();
        return shown.join('|');
    }
    /// Presses that button of the question which comes up next.
    void answer(const QString& label)
    {
        QTimer::singleShot(0, window.get(), [this, label] {
            auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
            ASSERT_TRUE(box);
            QTest::mouseClick(button(label, box), Qt::LeftButton);
        });
    }

    QTemporaryDir folder;
    UserDefaults defaults{folder.filePath("defaults.plist").toStdString()};
    BXSyncGlobalConf settings{defaults};
    std::unique_ptr<GlobalSettingsWindow> window;
};

TEST_F(GlobalSettingsWindowTest, SaysTheFirstFaultKeepsWhatWasTypedAndSavesNothing)
{
    auto* propfind = named<QLineEdit>("Listing");
    auto* other = named<QLineEdit>("Anything");
    auto* interval = named<QLineEdit>("Pause");
    auto* limit = named<QLineEdit>("Number");
    propfind->setText(QString::fromUtf8("１２"));
    type(other, "0");
    type(interval, "soon");
    type(limit, "-1");
    button("progress")->click();
    const auto expect = [&](QLineEdit* field, const char* message) {
        QTest::keyClick(window.get(), Qt::Key_Return);
        EXPECT_TRUE(fault().contains(message)) << fault().toStdString();
        EXPECT_FALSE(fault().contains('|')) << "one at a time";
        EXPECT_EQ(window->focusWidget(), field);
        EXPECT_EQ(field->accessibleDescription(), fault());
        EXPECT_TRUE(window->isVisible());
        type(field, "7");
        EXPECT_EQ(fault(), "");
    };
    expect(propfind, "listing folders");
    EXPECT_EQ(other->text(), "0");
    expect(other, "The time-out must");
    expect(interval, "interval");
    EXPECT_EQ(limit->text(), "-1");
    EXPECT_EQ(settings.propfindTimeout(), 20u);
    EXPECT_FALSE(settings.hideProgress());
    expect(limit, "number of attempts");
    QTest::keyClick(window.get(), Qt::Key_Return);
    EXPECT_FALSE(window->isVisible());
    EXPECT_EQ(settings.propfindTimeout(), 7u);
    EXPECT_EQ(settings.reconnectLimit(), 7u);
    EXPECT_TRUE(settings.hideProgress());
}

TEST_F(GlobalSettingsWindowTest, WithoutReconnectionItsNumbersDoNotMatter)
{
    type(named<QLineEdit>("Pause"), "soon");
    button("Try again")->click();
    EXPECT_FALSE(named<QLineEdit>("Pause")->isEnabled());
    named<QSpinBox>("Signing")->setValue(44);
    window->accept();
    EXPECT_FALSE(window->isVisible());
    EXPECT_FALSE(settings.reconnect());
    EXPECT_EQ(settings.reconnectInterval(), 10u);
    EXPECT_EQ(settings.optionsTimeout(), 44u);
}

TEST_F(GlobalSettingsWindowTest, AsksBeforeChangesAreLost)
{
    QTest::keyClick(window.get(), Qt::Key_Escape);
    EXPECT_FALSE(window->isVisible()) << "nothing to lose";
    window->show();
    button("log in")->click();
    answer("Keep");
    window->close();
    EXPECT_TRUE(window->isVisible());
    EXPECT_TRUE(window->hasUnsavedChanges());
    answer("Discard");
    QTest::keyClick(window.get(), Qt::Key_Escape);
    EXPECT_FALSE(window->isVisible());
    const auto desktopFile = folder.filePath("autostart/com.marlock.tidemark.desktop").toStdString();
    EXPECT_FALSE(std::filesystem::exists(desktopFile));
    window->show();
    answer("Save");
    QTest::keyClick(window.get(), Qt::Key_Escape);
    EXPECT_FALSE(window->isVisible());
    EXPECT_TRUE(std::filesystem::exists(desktopFile));
}

TEST_F(GlobalSettingsWindowTest, WhatCannotBeSavedIsSaidAndKeepsTheWindow)
{
    const auto expectSaid = [&](const char* sentence) {
        window->accept();
        EXPECT_TRUE(window->isVisible());
        QStringList said;
        for (const auto* label : window->findChildren<QLabel*>())
            if (label->isVisible()) said << label->text();
        EXPECT_TRUE(said.join('|').contains(sentence)) << said.join('|').toStdString();
    };
    QFile inTheWay(folder.filePath("autostart"));
    ASSERT_TRUE(inTheWay.open(QIODevice::WriteOnly));
    button("log in")->click();
    expectSaid("could not be changed. Something else is in its place.");
    std::filesystem::remove(folder.filePath("defaults.plist").toStdString());
    std::filesystem::create_directory(folder.filePath("defaults.plist").toStdString());
    button("before")->click();
    expectSaid("could not be saved. Something else is in its place.");
    EXPECT_TRUE(qobject_cast<QCheckBox*>(button("before"))->isChecked());
}

} // namespace
} // namespace tidemark::qt
