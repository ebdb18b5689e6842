// The check of a server as a person sees it, in the settings and in the assistant.

#include <gmock/gmock.h>

// Before Qt, which has a macro of the name of something in it.
#include "devserver/Server.h"

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTabWidget>
#include <QTest>
#include <QTimer>

#include "app/qt/Texts.h"
#include "app/qt/dialogs/CertificateTrustDialog.h"
#include "app/qt/settings/FirstRunAssistant.h"
#include "app/qt/settings/SettingsWindow.h"
#include "config/BXSyncConfigManager.h"
#include "tests/support/RawServer.h"
#include "tests/support/TempTree.h"

namespace tidemark::qt {
namespace {

class ServerCheckTest : public ::testing::Test
{
protected:
    ServerCheckTest() { tree.make({{"served/folder", test::folder()}, {"local", test::folder()}}); }

    devserver::Options serverOptions() const
    {
        devserver::Options options;
        options.root = tree.path("served");
        return options;
    }
    /// The settings with a configuration of that address, on the page with the check.
    SettingsWindow& openSettings(const std::string& url)
    {
        ConfigurationDraft draft;
        draft.name = "work";
        draft.url = url;
        draft.localPath = tree.path("local");
        EXPECT_TRUE(draft.save(store, ""));
        window = std::make_unique<SettingsWindow>(SettingsWindow::Outside{store, [](const std::string&) {}, [] {}});
        window->setAskUnsaved([] { return UnsavedAnswer::discard; });
        window->show();
        window->findChild<QTabWidget*>()->setCurrentIndex(1);
        return *window;
    }
    template <class Widget>
    static Widget& named(const QWidget& window, const char* key)
    {
        const auto name = text("Settings", key);
        for (auto* widget : window.findChildren<Widget*>())
            if (widget->accessibleName() == QString(name).remove('&')) return *widget;
        // The assistant names its fields by their labels.
        for (const auto* label : window.findChildren<QLabel*>())
            if (label->text() == name) return dynamic_cast<Widget&>(*label->buddy());
        throw std::runtime_error(key);
    }
    static QAbstractButton& button(const QWidget& window, const QString& label)
    {
        for (auto* candidate : window.findChildren<QAbstractButton*>())
            if (candidate->text() == label) return *candidate;
        throw std::runtime_error(toUtf8(label));
    }
    static void type(QLineEdit& field, const QString& content)
    {
        field.clear();
        QTest::keyClicks(&field, content);
    }
    static bool says(const QWidget& window, const char* key, const char* table = "Settings")
    {
        for (const auto* label : window.findChildren<QLabel*>())
            if (label->isVisible() && label->text() == text(table, key)) return true;
        return false;
    }
    static bool comesToSay(const QWidget& window, const char* key, const char* table = "Settings")
    {
        return QTest::qWaitFor([&] { return says(window, key, table); }, 20000);
    }
    /// Looks at the question about a certificate when it comes up, then presses a key on it.
    void answerTrust(Qt::Key key)
    {
        auto* look = new QTimer(qApp);
        look->callOnTimeout([this, look, key] {
            auto* dialog = qobject_cast<CertificateTrustDialog*>(QApplication::activeModalWidget());
            if (!dialog) return;
            look->deleteLater();
            look->stop();
            for (const auto* label : dialog->findChildren<QLabel*>())
                trustTexts << label->text();
            if (key == Qt::Key_Return) return QTest::keyClick(dialog, key);
            button(*dialog, text("Dialogs", "CERTIFICATE_TRUST")).click();
        });
        look->start(1);
    }

    test::TempTree tree;
    BXSyncConfigManager store{tree.path("config")};
    std::unique_ptr<SettingsWindow> window;
    QStringList trustTexts;
};

TEST_F(ServerCheckTest, SignInsThatAreMissingOrWrongAreToldApart)
{
    auto options = serverOptions();
    options.auth = devserver::AuthScheme::Basic;
    options.user = "kim";
    options.password = "sesame";
    devserver::Server server(options);
    auto& settings = openSettings(server.url("folder"));
    auto& check = button(settings, text("Settings", "CHECK"));
    check.click();
    EXPECT_TRUE(comesToSay(settings, "CHECK_SIGN_IN_NEEDED"));
    type(named<QLineEdit>(settings, "USER"), "kim");
    EXPECT_FALSE(says(settings, "CHECK_SIGN_IN_NEEDED")) << "it was about another user";
    type(named<QLineEdit>(settings, "PASSWORD"), "guess");
    check.click();
    EXPECT_TRUE(comesToSay(settings, "CHECK_SIGN_IN_REFUSED"));
    EXPECT_EQ(named<QLineEdit>(settings, "PASSWORD").text(), "guess");
    type(named<QLineEdit>(settings, "PASSWORD"), "sesame");
    check.click();
    EXPECT_TRUE(comesToSay(settings, "CHECK_GOOD"));
}

TEST_F(ServerCheckTest, AProxyThatWantsASignInIsNamed)
{
    tidemark::testing::RawServer proxy([](const tidemark::testing::RawServer::Request&) {
        return tidemark::testing::RawServer::Answer{
            tidemark::testing::httpAnswer(407, "", "Proxy-Authenticate: Basic realm=r\r\n")};
    });
    auto& settings = openSettings("http://dav.example.org/folder");
    button(settings, text("Settings", "USE_PROXY")).click();
    type(named<QLineEdit>(settings, "PROXY_HOST"), "127.0.0.1");
    type(named<QLineEdit>(settings, "PROXY_PORT"), QString::number(proxy.port()));
    button(settings, text("Settings", "CHECK")).click();
    EXPECT_TRUE(comesToSay(settings, "CHECK_PROXY_NEEDED"));
    type(named<QLineEdit>(settings, "PROXY_USER"), "kim");
    button(settings, text("Settings", "CHECK")).click();
    EXPECT_TRUE(comesToSay(settings, "CHECK_PROXY_REFUSED"));
}

TEST_F(ServerCheckTest, WhatCannotBeAskedIsNotAsked)
{
    devserver::Server server(serverOptions());
    auto& settings = openSettings(server.url("folder"));
    auto& check = button(settings, text("Settings", "CHECK"));
    type(named<QLineEdit>(settings, "PASSWORD"), "sesame");
    check.click();
    EXPECT_TRUE(says(settings, "USER_MISSING"));
    EXPECT_TRUE(check.isEnabled());
    type(named<QLineEdit>(settings, "USER"), "kim");
    type(named<QLineEdit>(settings, "URL"), "ftp://dav.example.org");
    check.click();
    EXPECT_TRUE(says(settings, "URL_UNUSABLE"));
    EXPECT_EQ(server.requests().size(), 0U);
}

TEST_F(ServerCheckTest, AnUntrustedServerIsTrustedOnlyByAPersonsWord)
{
    auto options = serverOptions();
    options.tls.enabled = true;
    devserver::Server server(options);
    auto& settings = openSettings(server.url("folder"));
    auto& ignore = button(settings, text("Settings", "IGNORE_CERTIFICATE"));
    answerTrust(Qt::Key_Return);
    button(settings, text("Settings", "CHECK")).click();
    EXPECT_TRUE(comesToSay(settings, "CHECK_NOT_TRUSTED"));
    EXPECT_FALSE(ignore.isChecked());
    EXPECT_THAT(toUtf8(trustTexts.join('\n')),
                ::testing::AllOf(::testing::HasSubstr("CN=localhost"), ::testing::ContainsRegex("([0-9A-F]{2}:){10}")));
    EXPECT_EQ(server.requests().size(), 0U);

    answerTrust(Qt::Key_T);
    button(settings, text("Settings", "CHECK")).click();
    EXPECT_TRUE(comesToSay(settings, "CHECK_GOOD"));
    EXPECT_TRUE(ignore.isChecked());
    EXPECT_TRUE(says(settings, "IGNORE_CERTIFICATE_WARNING"));
    EXPECT_FALSE(store.get("work", false)->ignoreServerCert()) << "not applied yet";
}

TEST_F(ServerCheckTest, TheAssistantLeadsPastAServerThatIsNotTrusted)
{
    auto options = serverOptions();
    options.tls.enabled = true;
    devserver::Server server(options);
    FirstRunAssistant assistant(store);
    assistant.show();
    type(named<QLineEdit>(assistant, "URL"), fromUtf8(server.url("missing")));
    answerTrust(Qt::Key_T);
    assistant.next();
    EXPECT_TRUE(comesToSay(assistant, "SERVER_NOT_FOLDER", "TidemarkResource"));
    type(named<QLineEdit>(assistant, "URL"), fromUtf8(server.url("folder")));
    EXPECT_FALSE(says(assistant, "SERVER_NOT_FOLDER", "TidemarkResource"));
    answerTrust(Qt::Key_Return);
    assistant.next();
    EXPECT_TRUE(comesToSay(assistant, "CHECK_NOT_TRUSTED")) << "another address, another question";
    answerTrust(Qt::Key_T);
    assistant.next();
    EXPECT_TRUE(QTest::qWaitFor([&] { return says(assistant, "LOCAL"); }, 20000));
    auto& local = named<QLineEdit>(assistant, "LOCAL");
    type(local, "relative");
    assistant.next();
    EXPECT_TRUE(says(assistant, "LOCAL_UNUSABLE"));
    EXPECT_EQ(local.text(), "relative");
    type(local, fromUtf8(tree.path("made")));
    assistant.next();
    assistant.accept();
    const auto made = store.get(assistant.createdName(), false);
    ASSERT_TRUE(made);
    EXPECT_TRUE(made->ignoreServerCert());
    EXPECT_EQ(made->localPath(), tree.path("made"));
}

} // namespace
} // namespace tidemark::qt
