#include "SyncLibrary/BXSyncPolicy.h"

#include <gtest/gtest.h>

#include "SyncLibrary/BXSyncFileDataInfo.h"

namespace tidemark {
namespace {

using Op = BXSyncOperation;
using Step = BXSyncStep;
using Change = BXSyncChange;

TEST(BXSyncPolicy, tellsTheWorkFromTheState)
{
    struct Row
    {
        std::int64_t state;
        bool hasServerListing;
        Change change;
    };
    const Row rows[] = {
        {0x10001, true, Change::newerLocalFile},
        {0x10002, true, Change::newerLocalFile},
        {0x10003, false, Change::newerLocalFile},
        {0x20001, true, Change::newerServerFile},
        {0x20003, true, Change::newerServerFile},
        {0x20003, false, Change::newerLocalFile},
        {0x30001, true, Change::conflict},
        {0x30002, true, Change::conflict},
        {0x30003, true, Change::conflict},
        {0x110003, true, Change::newServerFolder},
        {0x120003, true, Change::newLocalFolder},
        {0x10004, true, Change::deletedLocally},
        {0x30004, true, Change::deletedLocally},
        {0x20004, true, Change::deletedOnServer},
        {0x20005, true, Change::none},
        {0x10000, true, Change::none},
        {0x100000 | 0x10000, true, Change::none},
    };
    for (const auto& row : rows)
        EXPECT_EQ(BXSyncPolicy::changeOf(row.state, row.hasServerListing), row.change) << std::hex << row.state;
}

TEST(BXSyncPolicy, choosesTheStepOfEachChangeAndOperation)
{
    constexpr Op operations[] = {Op::ask,      Op::cancelRun,  Op::remove, Op::upload,
                                 Op::download, Op::mostRecent, Op::nothing};
    struct Row
    {
        Change change;
        // In the order of the operations above.
        Step steps[7];
    };
    const Row rows[] = {
        {Change::conflict,
         {Step::leaveOpen, Step::cancelRun, Step::leaveOpen, Step::uploadFile, Step::downloadFile, Step::leaveOpen,
          Step::leaveOpen}},
        {Change::deletedLocally,
         {Step::leaveAlone, Step::cancelRun, Step::deleteOnServer, Step::leaveAlone, Step::restoreFromServer,
          Step::leaveAlone, Step::leaveAlone}},
        {Change::deletedOnServer,
         {Step::leaveOpen, Step::cancelRun, Step::deleteLocally, Step::restoreOnServer, Step::leaveOpen,
          Step::leaveOpen, Step::leaveAlone}},
    };
    for (const auto& row : rows)
        for (std::size_t i = 0; i < std::size(operations); ++i)
            EXPECT_EQ(BXSyncPolicy::stepFor(row.change, operations[i]), row.steps[i])
                << static_cast<int>(row.change) << " with " << static_cast<int>(operations[i]);
    for (const auto operation : operations) {
        EXPECT_EQ(BXSyncPolicy::stepFor(Change::newerLocalFile, operation), Step::uploadFile);
        EXPECT_EQ(BXSyncPolicy::stepFor(Change::newerServerFile, operation), Step::downloadFile);
    }
}

TEST(BXSyncPolicy, turnsAnswersIntoOperations)
{
    const auto answer = [](std::int64_t code, bool persistent) { return BXSyncConfirmResult{code, persistent}; };
    EXPECT_EQ(BXSyncPolicy::conflictDecision(std::nullopt), (BXSyncDecision{Op::mostRecent, true}));
    EXPECT_EQ(BXSyncPolicy::conflictDecision(answer(0, false)), (BXSyncDecision{Op::mostRecent, false}));
    EXPECT_EQ(BXSyncPolicy::conflictDecision(answer(1, true)), (BXSyncDecision{Op::upload, true}));
    EXPECT_EQ(BXSyncPolicy::conflictDecision(answer(2, false)), (BXSyncDecision{Op::download, false}));
    EXPECT_EQ(BXSyncPolicy::conflictDecision(answer(3, false)), (BXSyncDecision{Op::cancelRun, false}));
    EXPECT_EQ(BXSyncPolicy::conflictDecision(answer(-1, false)), (BXSyncDecision{Op::cancelRun, false}));
    for (const auto& [decide, restore] : {std::pair(&BXSyncPolicy::localDeleteDecision, Op::download),
                                          std::pair(&BXSyncPolicy::serverDeleteDecision, Op::upload)}) {
        EXPECT_EQ(decide(std::nullopt), (BXSyncDecision{Op::cancelRun, false}));
        EXPECT_EQ(decide(answer(0, true)), (BXSyncDecision{restore, true}));
        EXPECT_EQ(decide(answer(1, false)), (BXSyncDecision{Op::remove, false}));
        EXPECT_EQ(decide(answer(2, false)), (BXSyncDecision{Op::nothing, false}));
        EXPECT_EQ(decide(answer(3, false)), (BXSyncDecision{Op::cancelRun, false}));
    }
}

TEST(BXSyncPolicy, takesTheLaterSideAndTheLocalOneOfEqualDates)
{
    EXPECT_EQ(BXSyncPolicy::resolveRecent(Op::mostRecent, 100, 101), Op::download);
    EXPECT_EQ(BXSyncPolicy::resolveRecent(Op::mostRecent, 100, 100), Op::upload);
    EXPECT_EQ(BXSyncPolicy::resolveRecent(Op::mostRecent, 101, 100), Op::upload);
    EXPECT_EQ(BXSyncPolicy::resolveRecent(Op::nothing, 100, 101), Op::nothing);
}

TEST(BXSyncPolicy, settlesTheOtherDirection)
{
    const BXSyncOperations asked;
    auto up = asked, down = asked;
    up.settleFor(SyncMode::uploadOnly);
    EXPECT_EQ(up.conflict, Op::upload);
    EXPECT_EQ(up.serverDelete, Op::nothing);
    EXPECT_EQ(up.localDelete, Op::ask);
    down.settleFor(SyncMode::downloadOnly);
    EXPECT_EQ(down.conflict, Op::download);
    EXPECT_EQ(down.localDelete, Op::nothing);
    EXPECT_EQ(down.serverDelete, Op::ask);
    EXPECT_EQ(BXSyncPolicy::unaskedLocalDelete(SyncMode::twoWay), Op::remove);
    EXPECT_EQ(BXSyncPolicy::unaskedLocalDelete(SyncMode::uploadOnly), Op::nothing);
    EXPECT_EQ(BXSyncPolicy::unaskedServerDelete(SyncMode::twoWay), Op::remove);
    EXPECT_EQ(BXSyncPolicy::unaskedServerDelete(SyncMode::downloadOnly), Op::nothing);
}

} // namespace
} // namespace tidemark
