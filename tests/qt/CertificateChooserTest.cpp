#include "app/qt/dialogs/CertificateChooserDialog.h"

#include <gtest/gtest.h>

#include <QPushButton>
#include <QTableWidget>
#include <QTest>
#include <QTimer>

#include "app/qt/dialogs/ModalQuestion.h"
#include "tests/support/Certificates.h"
#include "tests/support/TempTree.h"

namespace tidemark::qt {
namespace {

struct CertificateChooserTest : ::testing::Test
{
    ~CertificateChooserTest() override { ModalQuestion::admit(); }

    std::string add(const testing::CertificateFiles& files, const std::string& label)
    {
        const auto document = testing::readFile(files.certificate) + testing::readFile(files.key);
        return certificates.store().add(document, "", label)->identifier;
    }
    /// What the manager says was chosen by a person who does this.
    std::optional<std::string> chosen(const std::function<void(CertificateChooserDialog&)>& act)
    {
        CertificateChooserDialog dialog;
        QTimer::singleShot(0, &dialog, [&] { act(dialog); });
        QTimer::singleShot(20'000, &dialog, [&] { dialog.done(-1); });
        return certificates.selectCert(dialog);
    }
    static QTableWidget& tableOf(const QDialog& dialog) { return *dialog.findChild<QTableWidget*>(); }

    test::TempTree tree;
    testing::Certificates made;
    BXSyncCertificateManager certificates{IdentityStore(tree.path("identities"))};
};

TEST_F(CertificateChooserTest, ARowIsChosenWithTheKeyboardAndWithTheMouse)
{
    const auto stranger = add(made.stranger(), "B <i>second</i>");
    const auto client = add(made.client(), "A");
    EXPECT_EQ(chosen([](auto& dialog) {
                  auto* choose = dialog.template findChildren<QPushButton*>().first();
                  EXPECT_FALSE(choose->isEnabled());
                  EXPECT_EQ(tableOf(dialog).item(0, 1)->text(), "authority");
                  EXPECT_EQ(tableOf(dialog).item(1, 0)->text(), "B <i>second</i>");
                  tableOf(dialog).selectRow(1);
                  EXPECT_TRUE(choose->isEnabled());
                  QTest::keyClick(choose, Qt::Key_Space);
              }),
              stranger);
    EXPECT_EQ(chosen([](auto& dialog) {
                  auto& table = tableOf(dialog);
                  const auto place = table.visualItemRect(table.item(0, 0)).center();
                  QTest::mouseClick(table.viewport(), Qt::LeftButton, {}, place);
                  QTest::mouseDClick(table.viewport(), Qt::LeftButton, {}, place);
              }),
              client);
}

TEST_F(CertificateChooserTest, WhatIsDismissedChoosesNothing)
{
    add(made.client(), "A");
    const auto nothing = std::optional<std::string>();
    EXPECT_EQ(chosen([](auto& dialog) {
                  tableOf(dialog).selectRow(0);
                  QTest::keyClick(&dialog, Qt::Key_Escape);
              }),
              nothing);
    EXPECT_EQ(chosen([](auto& dialog) {
                  tableOf(dialog).clearSelection();
                  dialog.accept();
              }),
              nothing);
    EXPECT_EQ(chosen([](auto&) { ModalQuestion::dismissAll(); }), nothing);
}

} // namespace
} // namespace tidemark::qt
