#include "app/cli/ConfigCommands.h"

#include <sys/stat.h>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "SyncLibrary/BXSyncInflight.h"
#include "SyncLibrary/BXSyncUtils.h"
#include "app/cli/RunLocking.h"
#include "platform/FileSystem.h"
#include "tests/app/CommandWorld.h"

namespace tidemark::cli {
namespace {

using testing::contentOf;

using nlohmann::json;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

struct ConfigCommandsTest : testing::CommandWorld
{
    ConfigurationOptions options()
    {
        ConfigurationOptions given;
        given.url = "http://files.example/dav/work/";
        given.local = folder.makeFolder("local");
        return given;
    }
    ExitStatus create(const std::string& name, ConfigurationOptions given)
    {
        return run(ConfigCreate{name, std::move(given)}, store, context);
    }
    json shown(const std::string& name)
    {
        takeData();
        EXPECT_EQ(run(ConfigShow{name, true}, store, context), ExitStatus::done);
        return json::parse(takeData());
    }
    ExitStatus set(const std::string& name, ConfigurationOptions given)
    {
        return run(ConfigSet{name, std::move(given)}, store, context);
    }
};

TEST_F(ConfigCommandsTest, CreatedConfigurationHoldsWhatWasGiven)
{
    auto given = options();
    given.mode = "upload";
    given.user = "kim";
    given.passwordSource = PasswordSource::file;
    given.passwordFile = folder.write("password", "sesame\nsecond line\n");
    given.onConflict = "download";
    given.onServerDelete = "none";
    given.onLocalDelete = "delete";
    given.logDirectory = "logs";
    given.logDays = 7;
    given.enabled = false;
    ASSERT_EQ(create("work", given), ExitStatus::done);

    const auto conf = shown("work");
    EXPECT_EQ(conf["name"], "work");
    EXPECT_EQ(conf["enabled"], false);
    EXPECT_EQ(conf["url"], "http://files.example/dav/work/");
    EXPECT_EQ(conf["local"], folder.path("local"));
    EXPECT_EQ(conf["mode"], "upload");
    EXPECT_EQ(conf["user"], "kim");
    EXPECT_EQ(conf["hasPassword"], true);
    EXPECT_EQ(conf["onConflict"], "download");
    EXPECT_EQ(conf["onServerDelete"], "none");
    EXPECT_EQ(conf["onLocalDelete"], "delete");
    EXPECT_EQ(conf["logDir"], folder.path("logs"));
    EXPECT_EQ(conf["logDays"], 7);
    EXPECT_TRUE(conf["created"].is_string());
    EXPECT_EQ(store.loadConf("work")->info()->password(), "sesame");
}

TEST_F(ConfigCommandsTest, DefaultsAskAndSyncBothWays)
{
    ASSERT_EQ(create("work", options()), ExitStatus::done);
    const auto conf = shown("work");
    EXPECT_EQ(conf["mode"], "two-way");
    EXPECT_EQ(conf["onConflict"], "confirm");
    EXPECT_EQ(conf["enabled"], true);
    EXPECT_EQ(conf["user"], nullptr);
    EXPECT_EQ(conf["logDir"], nullptr);
}

TEST_F(ConfigCommandsTest, PasswordIsNeverShownAndItsFileIsTheOwners)
{
    auto given = options();
    given.user = "kim";
    terminal.secrets = {"sesame"};
    ASSERT_EQ(create("work", given), ExitStatus::done) << "asked on the terminal";
    EXPECT_EQ(store.loadConf("work")->info()->password(), "sesame");
    EXPECT_EQ(run(ConfigShow{"work", false}, store, context), ExitStatus::done);
    EXPECT_EQ(run(ConfigShow{"work", true}, store, context), ExitStatus::done);
    EXPECT_EQ(run(ConfigList{true}, store, context), ExitStatus::done);
    EXPECT_EQ(run(ConfigList{false}, store, context), ExitStatus::done);
    EXPECT_THAT(takeData() + takeMessages(), Not(HasSubstr("sesame")));

    const auto file = store.configFilePath("work");
    EXPECT_THAT(contentOf(file), Not(HasSubstr("sesame")));
    struct stat attributes = {};
    ASSERT_EQ(::stat(file.c_str(), &attributes), 0);
    EXPECT_EQ(attributes.st_mode & 0777, 0600u);
}

TEST_F(ConfigCommandsTest, PasswordFromStandardInput)
{
    terminal.interactive = false;
    terminal.lines = {"from a pipe"};
    auto given = options();
    given.user = "kim";
    given.passwordSource = PasswordSource::standardInput;
    ASSERT_EQ(create("work", given), ExitStatus::done);
    EXPECT_EQ(store.loadConf("work")->info()->password(), "from a pipe");

    given.passwordSource = PasswordSource::none;
    ASSERT_EQ(create("other", given), ExitStatus::done) << "nobody to ask";
    EXPECT_THAT(takeMessages(), HasSubstr("no password is stored for kim"));
}

TEST_F(ConfigCommandsTest, WrongOptionsLeaveNoConfigurationBehind)
{
    const auto refused = [&](const std::function<void(ConfigurationOptions&)>& spoil) {
        auto given = options();
        spoil(given);
        return create("work", given) == ExitStatus::usage && !std::filesystem::exists(store.configFilePath("work"));
    };
    EXPECT_TRUE(refused([](auto& given) { given.url = "ftp://h/"; }));
    EXPECT_TRUE(refused([](auto& given) { given.local = ""; }));
    EXPECT_TRUE(refused([&](auto& given) { given.local = configDirectory; }));
    EXPECT_TRUE(refused([&](auto& given) { given.local = folder.path(); })) << "holds the configurations";
    EXPECT_TRUE(refused([](auto& given) { given.passwordSource = PasswordSource::standardInput; })) << "no user";
    EXPECT_TRUE(refused([&](auto& given) {
        given.user = "kim";
        given.passwordSource = PasswordSource::file;
        given.passwordFile = folder.path("none");
    }));
    EXPECT_TRUE(refused([&](auto& given) {
        given.user = "kim";
        given.passwordSource = PasswordSource::file;
        given.passwordFile = folder.write("empty", "\n");
    }));
    EXPECT_EQ(create("a/b", options()), ExitStatus::usage);
}

TEST_F(ConfigCommandsTest, NamesThatAreMissingOrTaken)
{
    ASSERT_EQ(create("work", options()), ExitStatus::done);
    ASSERT_EQ(create("play", options()), ExitStatus::done);
    EXPECT_THAT(takeMessages(), HasSubstr("overlaps with that of the configuration work"));
    EXPECT_EQ(create("work", options()), ExitStatus::configuration);
    EXPECT_EQ(run(ConfigRename{"work", "play"}, store, context), ExitStatus::configuration);
    EXPECT_EQ(run(ConfigRename{"none", "new"}, store, context), ExitStatus::configuration);
    EXPECT_EQ(run(ConfigRename{"work", ".."}, store, context), ExitStatus::usage);
    EXPECT_EQ(run(ConfigShow{"none"}, store, context), ExitStatus::configuration);
    EXPECT_EQ(run(ConfigShow{"../config/work"}, store, context), ExitStatus::configuration);
    EXPECT_EQ(run(ConfigDelete{"none"}, store, context), ExitStatus::configuration);
    EXPECT_EQ(set("none", {}), ExitStatus::configuration);
    folder.write("config/broken.xml", "<plist");
    EXPECT_EQ(run(ConfigShow{"broken"}, store, context), ExitStatus::configuration);
}

TEST_F(ConfigCommandsTest, SetChangesWhatIsGivenAndKeepsTheRest)
{
    auto given = options();
    given.user = "kim";
    terminal.secrets = {"sesame"};
    given.onConflict = "upload";
    ASSERT_EQ(create("work", given), ExitStatus::done);
    const auto before = shown("work");

    ConfigurationOptions change;
    change.mode = "download";
    change.enabled = false;
    ASSERT_EQ(set("work", change), ExitStatus::done);
    auto expected = before;
    expected["mode"] = "download";
    expected["enabled"] = false;
    EXPECT_EQ(shown("work"), expected);
    EXPECT_EQ(store.loadConf("work")->info()->password(), "sesame");

    ConfigurationOptions nobody;
    nobody.user = "";
    ASSERT_EQ(set("work", nobody), ExitStatus::done);
    EXPECT_EQ(shown("work")["user"], nullptr);
    EXPECT_EQ(store.loadConf("work")->info()->password(), "");
}

TEST_F(ConfigCommandsTest, AnotherFolderForgetsWhatIsKnownOfTheFiles)
{
    ASSERT_EQ(create("work", options()), ExitStatus::done);
    folder.write("config/work.psi", "what is known");
    ConfigurationOptions change;
    change.onConflict = "upload";
    ASSERT_EQ(set("work", change), ExitStatus::done);
    EXPECT_TRUE(std::filesystem::exists(store.syncInfoPath("work")));
    change.local = folder.makeFolder("elsewhere");
    ASSERT_EQ(set("work", change), ExitStatus::done);
    EXPECT_FALSE(std::filesystem::exists(store.syncInfoPath("work")));
}

TEST_F(ConfigCommandsTest, RenameTakesAlongWhatIsKnownAndTheCreationDate)
{
    ASSERT_EQ(create("work", options()), ExitStatus::done);
    folder.write("config/work.psi", "what is known");
    const auto before = shown("work");
    ASSERT_EQ(run(ConfigRename{"work", "job"}, store, context), ExitStatus::done);
    auto expected = before;
    expected["name"] = "job";
    EXPECT_EQ(shown("job"), expected);
    EXPECT_EQ(contentOf(store.syncInfoPath("job")), "what is known");
    EXPECT_FALSE(std::filesystem::exists(store.syncInfoPath("work")));
    EXPECT_FALSE(std::filesystem::exists(store.configFilePath("work")));
}

TEST_F(ConfigCommandsTest, DeleteAsksOnATerminalAndLeavesNothingInTheStore)
{
    ASSERT_EQ(create("work", options()), ExitStatus::done);
    folder.write("config/work.psi", "what is known");
    const auto file = folder.write("local/kept.txt", "kept");
    terminal.lines = {"n"};
    EXPECT_EQ(run(ConfigDelete{"work"}, store, context), ExitStatus::cancelled);
    EXPECT_TRUE(std::filesystem::exists(store.configFilePath("work")));
    terminal.lines = {"y"};
    EXPECT_EQ(run(ConfigDelete{"work"}, store, context), ExitStatus::done);
    EXPECT_TRUE(std::filesystem::is_empty(configDirectory));
    EXPECT_TRUE(std::filesystem::exists(file));

    ASSERT_EQ(create("work", options()), ExitStatus::done);
    EXPECT_EQ(run(ConfigDelete{"work", true}, store, context), ExitStatus::done);
    ASSERT_EQ(create("work", options()), ExitStatus::done);
    terminal.interactive = false;
    EXPECT_EQ(run(ConfigDelete{"work"}, store, context), ExitStatus::done);
}

TEST_F(ConfigCommandsTest, ARunUnderWayKeepsItsConfiguration)
{
    ASSERT_EQ(create("work", options()), ExitStatus::done);
    {
        const auto running = lockRuns(store.syncInfoPath("work"), "work", context);
        ASSERT_TRUE(running);
        EXPECT_EQ(set("work", {}), ExitStatus::busy);
        EXPECT_EQ(run(ConfigRename{"work", "job"}, store, context), ExitStatus::busy);
        EXPECT_EQ(run(ConfigDelete{"work", true}, store, context), ExitStatus::busy);
    }
    EXPECT_EQ(set("work", {}), ExitStatus::done);
}

TEST_F(ConfigCommandsTest, AHalfFileOfTheFormerFolderIsNotLookedForInTheNewOne)
{
    ASSERT_EQ(create("work", options()), ExitStatus::done);
    const auto half = folder.write("local/report", "whole");
    const auto other = folder.write("other/report", "somebody's");
    {
        BXSyncInflight dying(store.syncInfoPath("work"), folder.path("local"), [&](const std::string& pathname) {
            return Result<std::string>(folder.path("local") + pathname);
        });
        ASSERT_TRUE(dying.begin("/report"));
        folder.write("local/report", "ha");
    }
    ConfigurationOptions elsewhere;
    elsewhere.local = folder.path("other");
    ASSERT_EQ(set("work", elsewhere), ExitStatus::done);
    EXPECT_TRUE(BXSyncUtils::isSuspendedFile(half));
    EXPECT_FALSE(fs::exists(BXSyncInflight::pathFor(store.syncInfoPath("work"))));
    EXPECT_FALSE(BXSyncUtils::isSuspendedFile(other));
}

TEST_F(ConfigCommandsTest, ASecretThatCannotBeStoredIsRefused)
{
    auto given = options();
    given.user = "kim";
    given.passwordSource = PasswordSource::file;
    given.passwordFile = folder.write("password", "schl\xfcssel\n");
    EXPECT_EQ(create("work", given), ExitStatus::usage);
    EXPECT_THAT(takeMessages(), HasSubstr("UTF-8"));
}

TEST_F(ConfigCommandsTest, ListIsOldestFirstAndNamesWhatCannotBeRead)
{
    ASSERT_EQ(create("zebra", options()), ExitStatus::done);
    ASSERT_EQ(create("ant", options()), ExitStatus::done);
    const auto oldest = store.loadConf("zebra");
    oldest->setCreationDate(*oldest->creationDate() - std::chrono::hours(1));
    store.save({{"zebra", oldest}});
    folder.write("config/broken.xml", "<plist");
    store.loadAll();
    takeMessages();
    EXPECT_EQ(run(ConfigList{true}, store, context), ExitStatus::configuration);
    const auto list = json::parse(takeData())["configurations"];
    ASSERT_EQ(list.size(), 2u);
    EXPECT_EQ(list[0]["name"], "zebra");
    EXPECT_EQ(list[1]["name"], "ant");
    EXPECT_THAT(takeMessages(), HasSubstr("broken"));
    EXPECT_EQ(run(ConfigList{}, store, context), ExitStatus::configuration);
    EXPECT_THAT(takeData(), AllOf(HasSubstr("zebra  two-way"), HasSubstr("ant    two-way")));
}

} // namespace
} // namespace tidemark::cli
