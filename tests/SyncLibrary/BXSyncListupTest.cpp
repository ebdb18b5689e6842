#include "SyncLibrary/BXSyncListup.h"

#include <gtest/gtest.h>

#include "SyncLibrary/BXSyncCommandRunning.h"
#include "SyncLibrary/BXSyncQuestions.h"
#include "SyncLibrary/BXSyncRunReport.h"
#include "SyncLibrary/BXSyncUtils.h"

namespace tidemark {
namespace {

BXSyncFileDataInfo record(const std::string& name, std::int64_t state, std::int64_t size = 10)
{
    BXSyncFileDataInfo item;
    item.fileData = {name, 1'600'000'000};
    item.oldDateLastModified = 1'600'100'000;
    item.state = state;
    item.size = size;
    item.update = true;
    return item;
}

std::vector<BXSyncFileDataInfo*> pointers(std::vector<BXSyncFileDataInfo>& records)
{
    std::vector<BXSyncFileDataInfo*> result;
    for (auto& item : records)
        result.push_back(&item);
    return result;
}

struct Listed
{
    std::vector<std::string> items;
    std::vector<std::int64_t> states;
    std::vector<std::string> ignored;
    std::int64_t files, bytes, deletions;
};

class ListupBuild : public ::testing::Test
{
protected:
    Listed build(SyncMode mode, BXSyncOperations operations = {})
    {
        const auto list = BXSyncListup::build(mode, operations, pointers(local_), pointers(server_));
        Listed result{{}, {}, list.ignoredDeletions, list.totalFiles, list.totalBytes, list.deleteFiles};
        for (const auto* item : list.items) {
            result.items.push_back(item->fileData.fileName);
            result.states.push_back(item->state);
        }
        return result;
    }

    std::vector<BXSyncFileDataInfo> local_{record("/new", 3), record("/d", 0x100003, -1), record("/both", 0x30001),
                                           record("/gone", 4, 0)};
    std::vector<BXSyncFileDataInfo> server_{record("/both", 0x30001), record("/s", 1), record("/sgone", 4, 0)};
};

TEST_F(ListupBuild, twoWayTakesBothSidesAndEachConflictOnce)
{
    const auto listed =
        build(SyncMode::twoWay, {BXSyncOperation::ask, BXSyncOperation::nothing, BXSyncOperation::nothing});
    EXPECT_EQ(listed.items, (std::vector<std::string>{"/new", "/d", "/both", "/gone", "/s", "/sgone"}));
    EXPECT_EQ(listed.states, (std::vector<std::int64_t>{0x10003, 0x110003, 0x30001, 0x10004, 0x20001, 0x20004}));
    EXPECT_EQ(listed.files, 5);
    EXPECT_EQ(listed.bytes, 30);
    EXPECT_EQ(listed.deletions, 2);
    EXPECT_TRUE(listed.ignored.empty());
}

TEST_F(ListupBuild, oneDirectionDropsTheDeletionsItIgnores)
{
    auto listed =
        build(SyncMode::uploadOnly, {BXSyncOperation::upload, BXSyncOperation::nothing, BXSyncOperation::nothing});
    EXPECT_EQ(listed.items, (std::vector<std::string>{"/new", "/d", "/both"}));
    EXPECT_EQ(listed.ignored, std::vector<std::string>{"/gone"});
    EXPECT_EQ(listed.deletions, 0);
    listed =
        build(SyncMode::downloadOnly, {BXSyncOperation::download, BXSyncOperation::nothing, BXSyncOperation::nothing});
    EXPECT_EQ(listed.items, std::vector<std::string>{"/s"}); // the other carries a direction already
    EXPECT_EQ(listed.ignored, std::vector<std::string>{"/sgone"});
    server_[2] = record("/sgone", 4, 0);
    listed = build(SyncMode::downloadOnly, {});
    EXPECT_EQ(listed.items, std::vector<std::string>{"/sgone"});
    EXPECT_EQ(listed.deletions, 1);
}

TEST(Listup, describesItemsForTheLog)
{
    const auto local = BXSyncUtils::getStringForShow(dates::fromSeconds(1'600'000'000));
    const auto server = BXSyncUtils::getStringForShow(dates::fromSeconds(1'600'100'000));
    const auto line = [](std::int64_t state) { return BXSyncListup::describe(record("/f", state)); };
    EXPECT_EQ(line(0x10001), "[Upload (Update) " + local + "] /f");
    EXPECT_EQ(line(0x10003), "[Upload (New) " + local + "] /f");
    EXPECT_EQ(line(0x20002), "[Download (Update) " + local + "] /f");
    EXPECT_EQ(line(0x30001), "[Competition (Update) (Local) " + local + " (Server) " + server + "] /f");
    EXPECT_EQ(line(0x30003), "[Competition (New) (Local) " + local + " (Server) " + server + "] /f");
    EXPECT_EQ(line(0x10004), "[Deleted (Server)] /f");
    EXPECT_EQ(line(0x20004), "[Deleted (Local)] /f");
    EXPECT_EQ(line(0x30004), "[Deleted (Local/Server)] /f");
}

std::string choicesOf(const BXSyncConfirmInfo& info)
{
    std::string text;
    for (const auto& choice : info.choices)
        text += choice.title + std::to_string(choice.returnCode) + " ";
    return text;
}

TEST(Questions, offerTheirChoicesInOrder)
{
    const auto item = record("/d/f", 0x30001);
    const auto error = engineError("SERVERFILE_LOCK", "Locked file.");
    struct Row
    {
        BXSyncConfirmInfo info;
        int type;
        const char* message;
        const char* choices;
        bool askPersistence;
    };
    using namespace BXSyncQuestions;
    const Row rows[] = {
        {deleteOnServer(item, "f", SyncMode::twoWay), 0, "DELETE_SERVER", "CANCEL3 DOWNLOAD0 DELETE1 ", true},
        {deleteOnServer(item, "f", SyncMode::uploadOnly), 0, "DELETE_SERVER", "CANCEL3 DO_NOTHING2 DELETE1 ", true},
        {deleteLocally(item, "f", SyncMode::twoWay), 0, "DELETE_LOCAL", "CANCEL3 UPLOAD0 DELETE1 ", true},
        {deleteLocally(item, "f", SyncMode::downloadOnly), 0, "DELETE_LOCAL", "CANCEL3 DO_NOTHING2 DELETE1 ", true},
        {conflict(item, "f", {}), 1, "FILE_CONFILCT", "RECENT_FILE0 UPLOAD1 DOWNLOAD2 CANCEL3 ", true},
        {fileFailure(error, "f"), 2, "SYNCFILE_FAILURE", "CANCEL1 SKIP0 ", false},
        {unusableName("/x/aux"), 2, "UPLOAD_UNUSABLE_NAME", "CANCEL1 SKIP0 ", false},
        {reconnect(7), 3, "RECONNECT_MESSAGE", "RECONNECT_NOW0 CANCEL1 ", false},
        {listupFailure(nullptr), 3, "SYNCFILELISTUP_FAILURE", "OK0 ", false},
        {fatalError("disk"), 3, "SYNC_ERROR_DETAIL", "OK0 ", false},
        {fatalError(""), 3, "SYNC_ERROR", "OK0 ", false},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(static_cast<int>(row.info.type), row.type) << row.message;
        EXPECT_EQ(row.info.message, row.message);
        EXPECT_EQ(choicesOf(row.info), row.choices) << row.message;
        EXPECT_EQ(row.info.askPersistence, row.askPersistence) << row.message;
        EXPECT_NE(BXSyncUtils::localizeAndReplacementMessage(row.message, "TidemarkResource", {}), "") << row.message;
    }
    EXPECT_EQ(conflict(item, "f", {}).otherInfo.at("recent_place").stringValue(), "server");
    const auto type = [](const BXSyncFileDataInfo& of) {
        return deleteLocally(of, "f", SyncMode::twoWay).replaceStrings.at("type");
    };
    EXPECT_NE(type(item), type(record("/d", 0x100003, -1)));
    EXPECT_EQ(fileFailure(error, "f").replaceStrings.at("error"), messageText(error));
    EXPECT_NE(messageText(error), "");
    EXPECT_EQ(listupFailure(&error).replaceStrings.at("error"), messageText(error));
    EXPECT_EQ(fatalError("disk").replaceStrings.at("errordetail"), "disk");
}

} // namespace
} // namespace tidemark
