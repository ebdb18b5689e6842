#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>

#include "Logger/BXLogger.h"
#include "SyncLibrary/BXSyncFileWatcher.h"
#include "Utils/BXTidemarkUtils.h"
#include "config/BXSyncConfigManager.h"
#include "config/ConfigurationFile.h"
#include "platform/FileSystem.h"
#include "security/BXSyncCertificateManager.h"
#include "security/BXSyncPasswordManager.h"
#include "support/ManualClock.h"
#include "support/TempTree.h"

namespace tidemark {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

struct Alerts : AlertPresenter
{
    int shown = 0;
    int showAlert(const Alert&) override { return ++shown, 0; }
    std::optional<std::string> selectDirectory(const std::string&, const std::string&) override { return {}; }
};

struct StoreTest : ::testing::Test
{
    test::TempTree tree;
    testing::ManualClock clock;
    std::string directory = tree.path("configs");
    BXSyncCertificateManager certificates{IdentityStore(tree.path("identities"))};
    BXSyncConfigManager store{directory, clock, &certificates};
    std::shared_ptr<Alerts> alerts = std::make_shared<Alerts>();

    void SetUp() override { BXTidemarkUtils::setAlertPresenter(alerts); }
    void TearDown() override { BXTidemarkUtils::setAlertPresenter(nullptr); }

    static std::shared_ptr<BXSyncConf> makeConf(const std::string& localPath = "/local")
    {
        auto conf = std::make_shared<BXSyncConf>();
        conf->setServerURL("http://host.example/dav");
        conf->setLocalPath(localPath);
        return conf;
    }

    void create(const std::string& name)
    {
        EXPECT_THAT(store.save({{name, makeConf("/" + name)}}), IsEmpty());
        clock.advance(std::chrono::seconds(10));
    }

    std::vector<std::string> files() const
    {
        std::vector<std::string> names;
        for (const auto& [name, entry] : test::readTree(directory))
            names.push_back(name);
        return names;
    }

    /// What another process sees.
    std::shared_ptr<BXSyncConf> elsewhere(const std::string& name) const
    {
        BXSyncConfigManager other(directory);
        return other.get(name, false);
    }
};

TEST_F(StoreTest, ASavedConfigurationIsPrivateAndLoadsElsewhere)
{
    create("Work");
    struct stat status
    {
    };
    ASSERT_EQ(::stat(directory.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0700U);
    ASSERT_EQ(::stat(store.configFilePath("Work").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
    const auto loaded = elsewhere("Work");
    ASSERT_TRUE(loaded);
    EXPECT_EQ(loaded->name(), "Work");
    EXPECT_EQ(loaded->localPath(), "/Work");
    EXPECT_EQ(loaded->syncinfoPath(), directory + "/Work.psi");
    EXPECT_EQ(loaded->logname(), "marlock_tidemark_Work.log");
    EXPECT_EQ(store.get("Work", true)->identity(), loaded->identity());
}

TEST_F(StoreTest, TheCreationDateOutlivesLaterSaves)
{
    for (const char* name : {"c", "a", "b"})
        create(name);
    const auto created = elsewhere("c")->creationDate();
    const auto conf = store.get("c", true);
    conf->setEnable(false);
    EXPECT_THAT(store.save({{"c", conf}}), IsEmpty());
    EXPECT_EQ(elsewhere("c")->creationDate(), created);
    EXPECT_THAT(store.configNames(), ElementsAre("c", "a", "b"));
    EXPECT_THAT(store.enableConfigNames(), ElementsAre("a", "b"));
    BXSyncConfigManager restarted(directory);
    restarted.loadAll();
    EXPECT_THAT(restarted.configNames(), ElementsAre("c", "a", "b"));
}

TEST_F(StoreTest, LoadingTakesXmlFilesAndReportsBrokenOnes)
{
    create("good");
    tree.write("configs/notes.txt", "x");
    tree.write("configs/text.xml", "no property list");
    tree.write("configs/list.xml", PropertyList(PropertyList::Array{1}).toXml());
    tree.write("configs/copy.xml", tree.content("configs/good.xml"));
    tree.write("configs/.xml", tree.content("configs/good.xml"));
    std::vector<std::string> errors;
    LogFacade::setObserver([&](LogLevel, std::string_view text) { errors.emplace_back(text); });
    store.loadAll();
    LogFacade::setObserver(nullptr);
    EXPECT_EQ(errors.size(), 3U);
    std::vector<std::string> broken;
    for (const auto& [name, error] : store.brokenConfigurations())
        broken.push_back(name);
    EXPECT_THAT(broken, ElementsAre("", "list", "text"));
    EXPECT_THAT(store.configNames(), UnorderedElementsAre("good", "copy"));
    EXPECT_EQ(store.get("copy", true)->syncinfoPath(), directory + "/copy.psi") << "the file's name counts";
    EXPECT_EQ(store.readConf("text").error().domain, "Configuration");
    EXPECT_EQ(store.readConf("missing").error().domain, "POSIX");
    EXPECT_EQ(store.loadConf("missing"), nullptr);

    ASSERT_TRUE(fs::removeFile(store.configFilePath("good")));
    store.loadAll();
    EXPECT_THAT(store.configNames(), ElementsAre("copy"));
}

TEST_F(StoreTest, TheCacheIsAskedOnlyWhereAllowed)
{
    create("Work");
    const auto changed = elsewhere("Work");
    changed->setLocalPath("/changed");
    BXSyncConfigManager(directory).save({{"Work", changed}});
    EXPECT_EQ(store.get("Work", true)->localPath(), "/Work");
    EXPECT_EQ(store.get("Work", false)->localPath(), "/changed");
    EXPECT_EQ(store.get("Work", true)->localPath(), "/Work");
    store.cacheConfig(nullptr, "Work");
    EXPECT_EQ(store.get("Work", true)->localPath(), "/changed");
}

TEST_F(StoreTest, ANewNameTakesTheSyncInfoAlong)
{
    create("old");
    tree.make({{"configs/old.psi", test::file("records")},
               {"configs/old.psi.inflight", test::file("paths")},
               {"configs/old.psi.lock", test::file("")},
               {"configs/old.psi.xml", test::file("a configuration of that name")},
               {"configs/new.psi", test::file("left by an earlier one")}});
    const auto created = store.get("old", true)->creationDate();
    EXPECT_THAT(store.save({{"new", store.get("old", false)}, {"old", nullptr}}), IsEmpty());
    EXPECT_THAT(files(), ElementsAre("new.psi", "new.psi.inflight", "new.xml", "old.psi.lock", "old.psi.xml"));
    EXPECT_EQ(tree.content("configs/new.psi"), "records");
    EXPECT_EQ(store.get("old", true), nullptr);
    EXPECT_EQ(store.get("new", true)->name(), "new");
    EXPECT_EQ(store.get("new", true)->syncinfoPath(), directory + "/new.psi");
    EXPECT_EQ(dates::formatIsoDate(*store.get("new", true)->creationDate()), dates::formatIsoDate(*created));
}

TEST_F(StoreTest, DiscardedSyncInfoGoesWhateverTheName)
{
    create("kept");
    create("renamed");
    tree.make({{"configs/kept.psi", test::file("records")},
               {"configs/kept.psi.inflight", test::file("paths")},
               {"configs/renamed.psi", test::file("records")}});
    const auto kept = store.get("kept", false);
    const auto renamed = store.get("renamed", false);
    kept->setDiscardPsi(true);
    renamed->setDiscardPsi(true);
    EXPECT_THAT(store.save({{"kept", kept}, {"other", renamed}, {"renamed", nullptr}}), IsEmpty());
    EXPECT_THAT(files(), ElementsAre("kept.psi.inflight", "kept.xml", "other.xml"));
    EXPECT_FALSE(store.get("kept", true)->discardPsi());
}

TEST_F(StoreTest, AKeyIsNeverLostSilently)
{
    const BXSyncPasswordManager passwords;
    BXSyncConf::setPasswordDelegate(&passwords);
    create("Work");
    auto conf = store.get("Work", false);
    conf->setEncryptKey("schl\xfcssel");
    EXPECT_THAT(store.save({{"Work", conf}}), ElementsAre("Work"));
    conf->setEncryptKey("key");
    ASSERT_THAT(store.save({{"Work", conf}}), IsEmpty());
    auto dictionary = ConfigurationFile::read(store.configFilePath("Work")).value();
    dictionary["encryptKey"] = std::string("AAAA");
    ASSERT_TRUE(ConfigurationFile::write(store.configFilePath("Work"), dictionary, std::nullopt));
    EXPECT_FALSE(store.readConf("Work")) << "it would send files as they are";
    BXSyncConf::setPasswordDelegate(nullptr);
}

TEST_F(StoreTest, ANewConfigurationDoesNotInheritSyncInfo)
{
    tree.make({{"configs/Work.psi", test::file("of a configuration that is gone")}});
    create("Work");
    EXPECT_THAT(files(), ElementsAre("Work.xml"));
}

TEST_F(StoreTest, DeletingTakesAllFilesOfTheName)
{
    create("Work");
    create("Work2");
    tree.make({{"configs/Work.psi", test::file("")}, {"configs/Work.psi.inflight", test::file("")}});
    EXPECT_THAT(store.save({{"Work", nullptr}, {"never there", nullptr}}), IsEmpty());
    EXPECT_THAT(files(), ElementsAre("Work2.xml"));
    EXPECT_THAT(store.configNames(), ElementsAre("Work2"));
}

TEST_F(StoreTest, AFailedWriteDeletesNothingAndMovesNothing)
{
    create("old");
    tree.make({{"configs/old.psi", test::file("records")}});
    const auto before = test::readTree(directory);
    const auto conf = store.get("old", false);
    conf->setLocalPath(std::string("/a\0b", 4));
    EXPECT_THAT(store.save({{"new", conf}, {"old", nullptr}}), ElementsAre("new"));
    EXPECT_EQ(test::readTree(directory), before);
    EXPECT_EQ(alerts->shown, 1);
    EXPECT_NE(store.get("old", true), nullptr);
    EXPECT_EQ(store.get("new", true), nullptr);

    const auto invalid = store.get("old", false);
    EXPECT_THAT(store.save({{"a/b", invalid}, {"old", nullptr}}), ElementsAre("a/b"));
    EXPECT_EQ(test::readTree(directory), before);
}

TEST_F(StoreTest, ANameInUseIsNotTakenOver)
{
    create("one");
    create("two");
    tree.make({{"configs/one.psi", test::file("1")}, {"configs/two.psi", test::file("2")}});
    const auto before = test::readTree(directory);
    EXPECT_THAT(store.save({{"two", store.get("one", false)}, {"one", nullptr}}), ElementsAre("two"));
    EXPECT_EQ(test::readTree(directory), before);
}

TEST_F(StoreTest, NamesThatCannotBeFilesAreRefused)
{
    const std::string names[] = {"",    ".", "..", "a/b", std::string("a\0b", 3), std::string(201, 'x'), "line\nbreak",
                                 "\xff"};
    for (const auto& name : names) {
        EXPECT_FALSE(BXSyncConfigManager::checkName(name)) << name;
        EXPECT_FALSE(store.readConf(name)) << name;
    }
    for (const auto& name :
         {std::string(200, 'x'), std::string("日本 語.x"), std::string(".hidden"), std::string("...")})
        EXPECT_TRUE(BXSyncConfigManager::checkName(name)) << name;
}

TEST_F(StoreTest, LoadingSetsUpTheLogAndTheConnection)
{
    const auto conf = makeConf();
    conf->setSyncLogPath(tree.path("logs"));
    conf->setLogKeepDays(2);
    conf->setIgnoreServerCert(true);
    conf->setCertificateId(std::string(64, 'a'));
    store.save({{"Work", conf}});
    const auto loaded = store.get("Work", true);
    EXPECT_FALSE(loaded->info()->validatesSecureCertificate());
    EXPECT_EQ(loaded->certificateId(), "") << "the store has no such identity";
    EXPECT_EQ(loaded->info()->clientCertificates(), nullptr);
    const auto logger = BXLogger::getLogger(tree.path("logs"), "marlock_tidemark_Work.log");
    logger->info("line");
    logger->flush();
    EXPECT_EQ(test::readTree(tree.path("logs")).size(), 1U);
}

TEST_F(StoreTest, AWorkerBeginsWatchesAsTheConfigurationsAreByThen)
{
    std::vector<std::function<void()>> works;
    const auto work = [&works] {
        for (auto& each : std::exchange(works, {}))
            each();
    };
    const auto watched = [this](const std::string& folder) {
        auto conf = makeConf(tree.path(folder));
        conf->setEnable(true);
        conf->setAutosync(true);
        return conf;
    };
    for (const auto* folder : {"first", "second"})
        ASSERT_TRUE(fs::createFolders(tree.path(folder)));
    for (const auto* name : {"Stays", "Moves", "Goes"})
        store.cacheConfig(watched("first"), name);
    store.setWatchWorker([&works](std::function<void()> each) { works.push_back(std::move(each)); });
    store.startWatching();
    store.cacheConfig(watched("second"), "Moves");
    store.cacheConfig(nullptr, "Goes");
    EXPECT_THAT(store.fileWachers(), IsEmpty()) << "no folder is walked by whoever asks";
    work();
    ASSERT_THAT(store.fileWachers(), ::testing::SizeIs(2));
    EXPECT_EQ(store.fileWatcher("Moves")->watchPath(), tree.path("second"));
    EXPECT_TRUE(store.fileWatcher("Stays")->on());

    const auto former = store.fileWatcher("Stays");
    store.cacheConfig(watched("second"), "Stays");
    EXPECT_EQ(store.fileWatcher("Stays"), nullptr) << "what changes below the former folder does not count any more";
    work();
    EXPECT_FALSE(former->on());
    EXPECT_EQ(store.fileWatcher("Stays")->watchPath(), tree.path("second"));
    store.setWatchWorker({});
}

TEST_F(StoreTest, WatchersFollowTheirConfigurations)
{
    tree.makeFolder("a");
    tree.makeFolder("b");
    const auto save = [&](bool enable, bool automatic, const char* folder) {
        const auto conf = makeConf(tree.path(folder));
        conf->setEnable(enable);
        conf->setAutosync(automatic);
        store.save({{"Work", conf}});
        return store.fileWatcher("Work");
    };
    EXPECT_EQ(save(true, true, "a"), nullptr) << "nobody reacts to changes yet";
    store.startWatching();
    const auto first = store.fileWatcher("Work");
    ASSERT_NE(first, nullptr);
    EXPECT_TRUE(first->on());
    EXPECT_EQ(first->watchPath(), tree.path("a"));
    EXPECT_EQ(save(true, true, "a"), first);
    const auto second = save(true, true, "b");
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(second->watchPath(), tree.path("b"));
    EXPECT_FALSE(first->on());
    EXPECT_EQ(save(true, false, "b"), nullptr);
    EXPECT_NE(save(true, true, "b"), nullptr);
    EXPECT_EQ(save(false, true, "b"), nullptr);
    EXPECT_NE(save(true, true, "b"), nullptr);
    store.save({{"Work", nullptr}});
    EXPECT_THAT(store.fileWachers(), IsEmpty());
}

} // namespace
} // namespace tidemark
