#include <cstdlib>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>

#include "Utils/BXTidemarkUtils.h"
#include "platform/IdentityStore.h"
#include "platform/Localization.h"
#include "security/BXSyncCertificateManager.h"
#include "support/TempTree.h"

namespace tidemark {
namespace {

using ::testing::IsEmpty;
using ::testing::SizeIs;

struct IdentityTest : ::testing::Test
{
    test::TempTree tree;
    std::string folder = tree.path("store");
    IdentityStore store{folder};

    void run(const std::string& command) const
    {
        const auto whole = "cd '" + tree.root() + "' && " + command + " 2>>openssl.log";
        ASSERT_EQ(std::system(whole.c_str()), 0) << whole << "\n" << tree.content("openssl.log");
    }

    /// cert.pem and key.pem of a self-signed certificate.
    void makeCertificate(const std::string& subject) const
    {
        run("openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -keyout key.pem -out cert.pem "
            "-days 30 -utf8 -subj '" +
            subject + "'");
    }

    std::string pem() const { return tree.content("cert.pem") + tree.content("key.pem"); }

    IdentityStore::Code codeOf(const Result<IdentityStore::Identity>& result) const
    {
        EXPECT_FALSE(result);
        return result ? IdentityStore::unknownIdentity : static_cast<IdentityStore::Code>(result.error().code);
    }
};

TEST_F(IdentityTest, AnImportedIdentityIsListedLoadedAndRemoved)
{
    makeCertificate("/O=Wolke GmbH/CN=Jörg");
    const auto added = store.add(pem(), "");
    ASSERT_TRUE(added) << added.error().description();
    EXPECT_EQ(added->label, "Jörg");
    EXPECT_EQ(added->issuer, "Jörg");
    EXPECT_EQ(added->subject, "CN=Jörg, O=Wolke GmbH");
    const auto left = added->expires - std::chrono::system_clock::now();
    EXPECT_GT(left, std::chrono::hours(24 * 29));
    EXPECT_LT(left, std::chrono::hours(24 * 31));

    const IdentityStore restarted(folder);
    ASSERT_THAT(restarted.list().identities, SizeIs(1));
    EXPECT_EQ(restarted.list().identities[0].identifier, added->identifier);
    const auto loaded = restarted.load(added->identifier);
    ASSERT_TRUE(loaded);
    EXPECT_EQ((*loaded)->certificateChain, tree.content("cert.pem"));
    EXPECT_EQ((*loaded)->privateKey, tree.content("key.pem"));

    struct stat status
    {
    };
    ASSERT_EQ(::stat(folder.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0700U);
    ASSERT_EQ(::stat((folder + "/" + added->identifier + ".identity").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);

    EXPECT_TRUE(store.remove(added->identifier));
    EXPECT_FALSE(store.remove(added->identifier));
    EXPECT_FALSE(store.load(added->identifier));
    EXPECT_THAT(store.list().identities, IsEmpty());
}

TEST_F(IdentityTest, AnImportTwiceIsOneIdentityWithTheLastLabel)
{
    makeCertificate("/CN=a");
    const auto first = store.add(pem(), "", "first");
    const auto second = store.add(pem(), "", "second");
    ASSERT_TRUE(first && second);
    EXPECT_EQ(first->identifier, second->identifier);
    ASSERT_THAT(store.list().identities, SizeIs(1));
    EXPECT_EQ(store.list().identities[0].label, "second");
}

TEST_F(IdentityTest, Pkcs12NeedsItsPassphrase)
{
    makeCertificate("/CN=a");
    const std::string exporting =
        "openssl pkcs12 -export -inkey key.pem -in cert.pem -passout pass:öpen -name Friendly ";
    run(exporting + "-out modern.p12");
    run(exporting + "-legacy -out legacy.p12");
    for (const char* file : {"modern.p12", "legacy.p12"}) {
        const auto document = tree.content(file);
        EXPECT_EQ(codeOf(store.add(document, "shut")), IdentityStore::wrongPassphrase);
        EXPECT_EQ(codeOf(store.add(document, "")), IdentityStore::wrongPassphrase);
        const auto added = store.add(document, "öpen");
        ASSERT_TRUE(added) << file << added.error().description();
        EXPECT_EQ(added->label, "Friendly");
        EXPECT_EQ((*store.load(added->identifier))->certificateChain, tree.content("cert.pem"));
    }
    EXPECT_THAT(store.list().identities, SizeIs(1));
}

TEST_F(IdentityTest, PemMayHoldAnEncryptedKeyAndOtherCertificates)
{
    makeCertificate("/CN=other");
    const auto other = tree.content("cert.pem");
    const auto otherKey = tree.content("key.pem");
    makeCertificate("/CN=mine");
    run("openssl pkey -in key.pem -aes256 -passout pass:secret -out locked.pem");
    const auto document = other + tree.content("cert.pem") + tree.content("locked.pem");
    EXPECT_EQ(codeOf(store.add(document, "wrong")), IdentityStore::wrongPassphrase);
    const auto added = store.add(document, "secret");
    ASSERT_TRUE(added);
    EXPECT_EQ(added->label, "mine");
    EXPECT_EQ((*store.load(added->identifier))->privateKey.find("ENCRYPTED"), std::string::npos);
    EXPECT_EQ(codeOf(store.add(tree.content("cert.pem") + otherKey, "")), IdentityStore::keyMismatch);
}

TEST_F(IdentityTest, WhatIsNoIdentityIsRefused)
{
    makeCertificate("/CN=a");
    for (const auto& document : {std::string{}, std::string("text"), tree.content("cert.pem"), tree.content("key.pem"),
                                 pem().substr(0, 300), std::string("\x30\x82\x00\x10 cut off", 12)})
        EXPECT_EQ(codeOf(store.add(document, "")), IdentityStore::unreadableDocument);
    EXPECT_FALSE(store.load("../../etc/passwd"));
    EXPECT_FALSE(store.remove("../cert.pem"));
    tree.write("store/broken.identity", "no property list");
    EXPECT_THAT(store.list().unreadable, SizeIs(1));
    EXPECT_THAT(store.list().identities, IsEmpty());
}

TEST(IssuerNameTest, TheFirstCommonNameElseTheLastOrganisation)
{
    using Entries = std::vector<IdentityStore::NameEntry>;
    const char* cn = "2.5.4.3";
    const char* o = "2.5.4.10";
    EXPECT_EQ(IdentityStore::issuerName(Entries{{o, "Org"}, {cn, "Name"}}), "Name");
    EXPECT_EQ(IdentityStore::issuerName(Entries{{cn, "Name"}, {o, "Org"}}), "Name");
    EXPECT_EQ(IdentityStore::issuerName(Entries{{cn, "First"}, {cn, "Second"}}), "First");
    EXPECT_EQ(IdentityStore::issuerName(Entries{{o, "One"}, {"2.5.4.6", "JP"}, {o, "Two"}}), "Two");
    EXPECT_EQ(IdentityStore::issuerName(Entries{{"2.5.4.6", "JP"}}), std::nullopt);
}

struct Chooser : CertificateChooser
{
    std::optional<std::size_t> row;
    std::vector<std::string> shown;

    std::optional<std::size_t> runModal(const BXSyncCertificateManager& rows) override
    {
        for (std::size_t i = 0; i < rows.numberOfRowsInTableView(); ++i)
            shown.push_back(rows.tableView("label", i) + "/" + rows.tableView("issr", i));
        return row;
    }
};

struct CountingPresenter : AlertPresenter
{
    int alerts = 0;
    int showAlert(const Alert&) override { return ++alerts, 0; }
    std::optional<std::string> selectDirectory(const std::string&, const std::string&) override { return {}; }
};

TEST_F(IdentityTest, TheManagerShowsRowsAndGivesTheChosenOne)
{
    BXSyncCertificateManager manager(store);
    const auto presenter = std::make_shared<CountingPresenter>();
    BXTidemarkUtils::setAlertPresenter(presenter);
    Chooser chooser;
    chooser.row = 0;
    EXPECT_EQ(manager.selectCert(chooser), std::nullopt);
    EXPECT_EQ(presenter->alerts, 1);
    EXPECT_THAT(chooser.shown, IsEmpty());
    BXTidemarkUtils::setAlertPresenter(nullptr);

    makeCertificate("/C=JP");
    const auto unnamed = store.add(pem(), "", "b");
    makeCertificate("/O=One/O=Two");
    const auto named = store.add(pem(), "", "a");
    ASSERT_TRUE(unnamed && named);
    EXPECT_EQ(manager.selectCert(chooser), named->identifier);
    EXPECT_THAT(chooser.shown, ::testing::ElementsAre(
                                   "a/Two", "b/" + Localization::text("TidemarkResource", "UNKNOWN_ISSR_CERTIFICATE")));
    chooser.row = 2;
    EXPECT_EQ(manager.selectCert(chooser), std::nullopt);
    chooser.row = {};
    EXPECT_EQ(manager.selectCert(chooser), std::nullopt);
}

TEST_F(IdentityTest, TheManagerFindsWhatWasAddedAfterItsLoad)
{
    BXSyncCertificateManager manager(store);
    EXPECT_EQ(manager.getCert(""), std::nullopt);
    makeCertificate("/CN=a");
    const auto added = store.add(pem(), "");
    ASSERT_TRUE(added);
    EXPECT_EQ(manager.getCert(std::string(64, '0')), std::nullopt);
    const auto found = manager.getCert(added->identifier);
    ASSERT_TRUE(found);
    ASSERT_THAT(*found, SizeIs(1));
    EXPECT_EQ(found->front()->certificateChain, tree.content("cert.pem"));
}

} // namespace
} // namespace tidemark
