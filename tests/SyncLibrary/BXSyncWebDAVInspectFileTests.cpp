#include "SyncLibrary/BXSyncWebDAVInspectFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ScriptedServer.h"
#include "SyncInfoFixture.h"
#include "davclient/ASWDCmdPropBase.h"
#include "support/LogCapture.h"

namespace tidemark {
namespace {

using test::file;
using test::folder;
using test::namesOf;
using test::Scripted;
using test::ScriptedServer;
using test::statesOf;
using test::StoredTimes;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr double stored = 1'600'000'000;
using States = std::map<std::string, std::int64_t>;

struct CountingProgress : BXSyncProgressDelegate
{
    void addListUpFiles(std::int64_t count) override { announced += count; }
    void setListUpFiles() override { ++examined; }
    void update() override { ++updates; }
    std::int64_t announced = 0;
    int examined = 0;
    int updates = 0;
};

class BXSyncWebDAVInspectFileTest : public testing::Test
{
protected:
    ScriptedServer server;
    test::NoRunner runner;
    CountingProgress progress;
    test::LogCapture log;
    Scripted<BXSyncWebDAVInspectFile> inspector{server, BXSyncServerAccess{nullptr, "", runner, &progress}, nullptr};

    std::int64_t check(const char* root = ScriptedServer::root) { return inspector.checkSyncInfo(root); }
};

TEST_F(BXSyncWebDAVInspectFileTest, ListsFolderByFolderInTheServersOrder)
{
    server.tree = {
        {"a/x y+z.txt", file("12", stored)}, {"a/sub/deep", file("1")}, {"b.txt", file("1")}, {".hidden", file("1")}};
    for (const auto* root : {"http://dav.example/root", "http://dav.example/root/", "HTTP://Dav.example/r%6fot"}) {
        server.requests.clear();
        Scripted<BXSyncWebDAVInspectFile> fresh(server, BXSyncServerAccess{nullptr, "", runner, nullptr}, nullptr);
        EXPECT_EQ(fresh.checkSyncInfo(root), 5) << root;
        EXPECT_THAT(namesOf(fresh.modifiedItems()),
                    ElementsAre("/a", "/a/sub", "/a/sub/deep", "/a/x y+z.txt", "/b.txt"));
        EXPECT_THAT(server.requests, ElementsAre("/", "/a/", "/a/sub/"));
        const auto* record = fresh.getFileUpdate("/a/x y+z.txt");
        EXPECT_EQ(record->fileData.dateLastModified, stored);
        EXPECT_EQ(record->size, 2);
        EXPECT_EQ(record->filePath.str(), "http://dav.example/root/a");
    }
}

TEST_F(BXSyncWebDAVInspectFileTest, ClassifiesAgainstTheSyncInfo)
{
    const test::SyncInfoFile info(StoredTimes{{"/same", stored}, {"/newer", stored}, {"/gone", stored}, {"/d", 1}});
    ASSERT_TRUE(inspector.readSyncInfo(info.path()).value_or(false));
    server.tree = {{"same", file("1", stored)}, {"newer", file("1", stored + 60)}, {"d/in", file("1", stored)}};
    EXPECT_EQ(check(), 3);
    EXPECT_EQ(statesOf(inspector), (States{{"/same", 0}, {"/newer", 1}, {"/gone", 4}, {"/d", 0x100000}, {"/d/in", 3}}));
    EXPECT_EQ(progress.announced, 4);
    EXPECT_EQ(progress.examined, 4);
    EXPECT_EQ(progress.updates, 4);
}

TEST_F(BXSyncWebDAVInspectFileTest, NamesAreRecordedComposedAndAskedForAsTheServerSpellsThem)
{
    server.tree = {{"cafe\u0301/x", file("1")}};
    EXPECT_EQ(check(), 2);
    EXPECT_THAT(namesOf(inspector.modifiedItems()), ElementsAre("/caf\u00e9", "/caf\u00e9/x"));
    EXPECT_THAT(server.requests, ElementsAre("/", "/cafe\u0301/"));
}

TEST_F(BXSyncWebDAVInspectFileTest, FailuresFailTheWholeScanAndAreLogged)
{
    server.tree = {{"a/x", file("1")}, {"b/y", file("1")}};
    server.replies["/b"] = {404, {}};
    EXPECT_EQ(check(), -1);
    EXPECT_EQ(log.count(LogLevel::error, "The folder is not on the server. path:http://dav.example/root/b"), 1);
    server.replies["/b"] = {207, "<broken"};
    EXPECT_EQ(check(), -1);
    EXPECT_EQ(log.count(LogLevel::error, "XML parse error. path:http://dav.example/root/b"), 1);
    server.replies["/b"] = {403, {}};
    EXPECT_EQ(check(), -1);
    EXPECT_EQ(log.count(LogLevel::error, "refused with 403"), 1);
    EXPECT_EQ(check("ftp://dav.example/root"), -1);
}

TEST_F(BXSyncWebDAVInspectFileTest, CancelListsNoFurtherFolder)
{
    server.tree = {{"a/x", file("1")}, {"b/y", file("1")}, {"c/z", file("1")}};
    server.onRequest = [&](const std::string& pathname) {
        if (pathname == "/a") inspector.setCancel(true);
    };
    EXPECT_GE(check(), 0);
    EXPECT_THAT(server.requests, ElementsAre("/", "/a/"));
    EXPECT_NE(inspector.getFileUpdate("/a/x"), nullptr);
}

TEST_F(BXSyncWebDAVInspectFileTest, EndlessNestingEndsWithAnError)
{
    server.onRequest = [&](const std::string& pathname) {
        server.replies[pathname] = {207,
                                    ScriptedServer::document(ScriptedServer::response(pathname + "/again", folder()))};
    };
    EXPECT_EQ(check(), -1);
    EXPECT_EQ(server.requests.size(), 256U);
    EXPECT_EQ(log.count(LogLevel::error, "nested too deeply"), 1);

    server.onRequest = [&](const std::string& pathname) {
        const auto name = pathname + "/" + std::string(200, 'n');
        server.replies[pathname] = {207, ScriptedServer::document(ScriptedServer::response(name, folder()))};
    };
    EXPECT_EQ(check(), -1);
    EXPECT_EQ(log.count(LogLevel::error, "too long"), 1);
}

TEST_F(BXSyncWebDAVInspectFileTest, SinglePathIsAskedForInEitherForm)
{
    server.tree = {{"d/x", file("1")}, {"f", file("22")}};
    const std::string root = ScriptedServer::root;
    auto items = inspector.createWebDAVFileItems(root + "/d", true);
    ASSERT_TRUE(items && items->size() == 2);
    EXPECT_EQ(items->at(0).path, root + "/d");
    EXPECT_TRUE(items->at(0).isFolder);
    EXPECT_EQ(items->at(1).path, root + "/d/x");
    items = inspector.createWebDAVFileItems(root + "/f", true);
    ASSERT_TRUE(items && items->size() == 1);
    EXPECT_EQ(items->at(0).size, 2);
    items = inspector.createWebDAVFileItems(root + "/none", true);
    ASSERT_TRUE(items);
    EXPECT_THAT(*items, IsEmpty());
    EXPECT_THAT(server.requests, ElementsAre("/d", "/d/", "/f", "/none"));
    EXPECT_FALSE(inspector.createWebDAVFileItems(root + "/none"));
}

/// Judges a status and refuses; keeps the command.
struct RefusingRunner : BXSyncCommandRunning
{
    Result<std::shared_ptr<ASWDCmd>> davConnect(const CommandFactory& make, const AcceptStatus& accept) override
    {
        command = std::dynamic_pointer_cast<ASWDCmdPropFind>(make());
        for (int status = 200; status < 510; ++status)
            if (accept(*command, status)) accepted.push_back(status);
        Error error{errorDomain, -1, {{logKey, "it was refused"}}};
        return failure(std::move(error));
    }
    std::shared_ptr<ASWDCmdPropFind> command;
    std::vector<int> accepted;
};

TEST(BXSyncWebDAVInspectFileRequestTest, AsksForTheFolderWithASlashAndForTheFivePropertiesOnly)
{
    const test::LogCapture log;
    RefusingRunner runner;
    BXSyncWebDAVInspectFile inspector({nullptr, "3.1", runner, nullptr}, nullptr);
    EXPECT_FALSE(inspector.createWebDAVFileItems("http://dav.example/root/a"));
    EXPECT_EQ(log.count(LogLevel::error, "it was refused"), 1);
    EXPECT_THAT(runner.accepted, ElementsAre(207, 404));
    EXPECT_EQ(runner.command->remoteURL().absoluteString(), "http://dav.example/root/a/");
    EXPECT_EQ(runner.command->depth(), 1);
    EXPECT_EQ(runner.command->requestBody(),
              "<?xml version=\"1.0\" encoding=\"utf-8\" ?><D:propfind xmlns:D=\"DAV:\" "
              "xmlns:E=\"http://www.marlock.example/ns/webdav\"><D:prop><D:getlastmodified/><E:SyncDate/>"
              "<D:resourcetype/><D:getcontentlength/><E:suspend/></D:prop>"
              "<D:include><D:supported-live-property-set/><D:supported-report-set/></D:include></D:propfind>");
}

} // namespace
} // namespace tidemark
