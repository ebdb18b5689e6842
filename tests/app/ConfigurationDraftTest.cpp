#include "app/ConfigurationDraft.h"

#include <gmock/gmock.h>

#include "SyncLibrary/BXSyncRunLock.h"
#include "app/ConfigurationWarnings.h"
#include "platform/PropertyList.h"
#include "tests/app/CommandWorld.h"

namespace tidemark::cli {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Draft = ConfigurationDraft;
using Field = Draft::Field;
using Problem = Draft::Problem;

struct ConfigurationDraftTest : testing::CommandWorld
{
    Draft good() const
    {
        Draft draft;
        draft.name = "work";
        draft.url = "https://dav.example.org/folder";
        draft.localPath = local;
        return draft;
    }
    /// One that has no field as it is in a new one.
    Draft full() const
    {
        auto draft = good();
        draft.enabled = false;
        draft.mode = SyncMode::uploadOnly;
        draft.conflict = "upload";
        draft.serverDelete = "delete";
        draft.localDelete = "none";
        draft.autosync = true;
        draft.schedules = {BXSyncSchedule(2, 9, 30)};
        draft.user = "kim";
        draft.password = "sesame";
        draft.usesProxy = true;
        draft.proxyHost = "proxy.example";
        draft.proxyPort = "8080";
        draft.proxyUser = "paul";
        draft.proxyPassword = "let me out";
        draft.certificateId = "0123";
        draft.ignoreServerCert = true;
        draft.encrypts = true;
        draft.key = draft.repeatedKey = "key";
        draft.logFolder = folder.path("log");
        draft.logDays = "30";
        return draft;
    }
    static PropertyList::Dictionary written(const BXSyncConf& conf)
    {
        PropertyList::Dictionary dictionary;
        conf.updateDictinary(dictionary, true);
        dictionary.erase("identity");
        return dictionary;
    }

    std::string local = folder.makeFolder("local");
};

TEST_F(ConfigurationDraftTest, EveryFieldGoesIntoAConfigurationAndComesBack)
{
    BXSyncConf conf;
    const BXSyncConf fresh;
    full().apply(conf);
    const auto dictionary = written(conf);
    for (const auto& [key, value] : written(fresh)) {
        const bool isMarker = key == "includeall";
        EXPECT_EQ(dictionary.at(key) == value, isMarker) << key;
    }
    BXSyncConf copy;
    Draft::of(conf).apply(copy);
    EXPECT_EQ(written(copy), dictionary);

    good().apply(conf);
    BXSyncConf plain;
    good().apply(plain);
    auto left = written(conf);
    // What is not used any more may stay.
    for (const char* key : {"syncSchedule", "proxyHost", "proxyPort"})
        left.erase(key);
    for (const auto& [key, value] : left)
        EXPECT_EQ(value, written(plain).at(key)) << key;
}

TEST_F(ConfigurationDraftTest, EachBadFieldHasItsProblem)
{
    EXPECT_THAT(full().problems(store, ""), IsEmpty());
    ASSERT_TRUE(good().save(store, ""));
    folder.write("file", "");
    struct Case
    {
        std::string Draft::*field;
        std::string typed;
        Problem problem;
    };
    const Case cases[] = {
        {&Draft::name, "", {Field::name, "NAME_MISSING"}},
        {&Draft::name, "..", {Field::name, "NAME_UNUSABLE"}},
        {&Draft::name, "work", {Field::name, "NAME_TAKEN"}},
        {&Draft::url, "", {Field::url, "URL_MISSING"}},
        {&Draft::url, "https://kim@dav.example.org/", {Field::url, "URL_UNUSABLE"}},
        {&Draft::localPath, "", {Field::localPath, "LOCAL_MISSING"}},
        {&Draft::localPath, "~/x", {Field::localPath, "LOCAL_UNUSABLE"}},
        {&Draft::localPath, "/\xff", {Field::localPath, "LOCAL_UNUSABLE"}},
        {&Draft::localPath, configDirectory + "/below", {Field::localPath, "LOCAL_HOLDS_CONFIGURATIONS"}},
        {&Draft::localPath, folder.path(), {Field::localPath, "LOCAL_HOLDS_CONFIGURATIONS"}},
        {&Draft::localPath, folder.path("file"), {Field::localPath, "LOCAL_NO_FOLDER"}},
        {&Draft::localPath, folder.path("file/below"), {Field::localPath, "LOCAL_NO_FOLDER"}},
        {&Draft::user, "", {Field::user, "USER_MISSING"}},
        {&Draft::proxyHost, "proxy:80", {Field::proxyHost, "PROXY_HOST_UNUSABLE"}},
        {&Draft::proxyPort, "0", {Field::proxyPort, "PROXY_PORT_UNUSABLE"}},
        {&Draft::proxyPort, "80a", {Field::proxyPort, "PROXY_PORT_UNUSABLE"}},
        {&Draft::proxyUser, "", {Field::proxyUser, "PROXY_USER_MISSING"}},
        {&Draft::key, "", {Field::key, "KEY_MISSING"}},
        {&Draft::repeatedKey, "", {Field::repeatedKey, "KEY_DIFFERS"}},
        {&Draft::logFolder, "log", {Field::logFolder, "LOG_FOLDER_UNUSABLE"}},
        {&Draft::logFolder, folder.path("file"), {Field::logFolder, "LOCAL_NO_FOLDER"}},
        {&Draft::logDays, "", {Field::logDays, "LOG_DAYS_UNUSABLE"}},
        {&Draft::logDays, "-1", {Field::logDays, "LOG_DAYS_UNUSABLE"}},
        {&Draft::logDays, "99999999999", {Field::logDays, "LOG_DAYS_UNUSABLE"}},
    };
    for (const auto& [field, typed, problem] : cases) {
        SCOPED_TRACE(problem.key + " " + typed);
        auto draft = full();
        draft.name = "other";
        draft.*field = typed;
        EXPECT_THAT(draft.problems(store, ""), ElementsAre(problem));
    }
    EXPECT_THAT(good().problems(store, "work"), IsEmpty()) << "its own name is free";
    auto several = full();
    several.logDays = several.localPath = several.url = several.name = "";
    std::vector<Field> fields;
    for (const auto& problem : several.problems(store, ""))
        fields.push_back(problem.field);
    EXPECT_THAT(fields, ElementsAre(Field::name, Field::url, Field::localPath, Field::logDays));
    several.usesProxy = several.encrypts = false;
    several.proxyPort = several.key = "";
    EXPECT_EQ(several.problems(store, "").size(), 4U) << "what is switched off does not matter";
}

TEST_F(ConfigurationDraftTest, OnlyOtherFoldersMakeAConfigurationForgetItsFiles)
{
    auto draft = good();
    ASSERT_TRUE(draft.save(store, ""));
    const auto syncInfo = folder.write("config/" + store.syncInfoPath("work").substr(configDirectory.size() + 1), "x");
    const auto isKnownAfter = [&](const Draft& edited) {
        EXPECT_TRUE(edited.save(store, "work"));
        return std::filesystem::exists(syncInfo);
    };
    draft.user = "kim";
    draft.localPath = local + "//./";
    draft.url = "HTTPS://DAV.example.org/folder";
    EXPECT_TRUE(isKnownAfter(draft));
    draft.encrypts = true;
    draft.key = "key";
    EXPECT_TRUE(draft.changesKeyOf(*store.get("work", false)));
    draft.url = "https://dav.example.org/another";
    EXPECT_FALSE(isKnownAfter(draft));
    draft.key = "other";
    EXPECT_FALSE(draft.changesKeyOf(*store.get("work", false))) << "nothing has been synchronised";
}

TEST_F(ConfigurationDraftTest, ARenamedConfigurationIsTheSameOne)
{
    ASSERT_TRUE(good().save(store, ""));
    const auto identity = store.get("work", false)->identity();
    auto draft = good();
    draft.name = "cafe\xCC\x81";
    ASSERT_TRUE(draft.save(store, "work"));
    EXPECT_THAT(store.configNames(), ElementsAre("caf\xC3\xA9"));
    EXPECT_EQ(store.get("caf\xC3\xA9", false)->identity(), identity);
}

TEST_F(ConfigurationDraftTest, ASaveThatFailsSaysWhyAndChangesNothing)
{
    ASSERT_TRUE(good().save(store, ""));
    auto edited = good();
    edited.user = "kim";
    const auto faultOf = [](const Status& status) {
        EXPECT_FALSE(status);
        EXPECT_EQ(status.error().domain, Draft::errorDomain);
        return static_cast<Draft::Fault>(status.error().code);
    };
    {
        const auto lock = BXSyncRunLock::tryAcquire(store.syncInfoPath("work"));
        ASSERT_TRUE(lock && *lock);
        EXPECT_EQ(faultOf(edited.save(store, "work")), Draft::Fault::runUnderWay);
        EXPECT_EQ(faultOf(Draft::remove(store, "work")), Draft::Fault::runUnderWay);
    }
    auto renamed = edited;
    renamed.name = "other";
    std::filesystem::create_directories(store.configFilePath("other") + "/in the way");
    EXPECT_EQ(faultOf(renamed.save(store, "work")), Draft::Fault::notWritten);
    EXPECT_EQ(store.get("work", false)->info()->username(), "");
    ASSERT_TRUE(Draft::remove(store, "work"));
    EXPECT_EQ(faultOf(edited.save(store, "work")), Draft::Fault::gone);
}

TEST_F(ConfigurationDraftTest, WarnsOfWhatCanBeSavedAllTheSame)
{
    using Kind = ConfigurationWarning::Kind;
    auto draft = good();
    ASSERT_TRUE(draft.save(store, ""));
    EXPECT_THAT(configurationWarnings(*store.get("work", true), store), IsEmpty());
    draft.name = "other";
    draft.localPath = local + "/below";
    draft.user = "kim";
    ASSERT_TRUE(draft.save(store, ""));
    EXPECT_THAT(configurationWarnings(*store.get("other", true), store),
                ElementsAre(ConfigurationWarning{Kind::noLocalFolder}, ConfigurationWarning{Kind::overlaps, "work"},
                            ConfigurationWarning{Kind::noPassword}));
}

} // namespace
} // namespace tidemark::cli
