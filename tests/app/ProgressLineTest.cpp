#include "app/cli/ProgressLine.h"

#include <gtest/gtest.h>

#include "platform/Unicode.h"

namespace tidemark::cli {
namespace {

using Stage = BXSyncProgressModel::Stage;

BXSyncProgressModel::Snapshot transfer(std::string name)
{
    BXSyncProgressModel::Snapshot snapshot;
    snapshot.stage = Stage::transferring;
    snapshot.overallProgress = 0.426;
    snapshot.operationKey = "PROCESSING_UPLOAD";
    snapshot.fileName = std::move(name);
    snapshot.currentFiles = 3;
    snapshot.totalFiles = 12;
    snapshot.doneBytes = 5 << 20;
    snapshot.totalBytes = 20 << 20;
    snapshot.speed = 1536 << 10;
    snapshot.remainingSeconds = 3661;
    return snapshot;
}

TEST(ProgressLine, TellsFilesBytesSpeedAndRemainingTime)
{
    EXPECT_EQ(progressLine(transfer("a.txt"), 200),
              "42% up a.txt  3/12 files, 5.0 MiB of 20.0 MiB, 1.5 MiB/s, 1:01:01 left");
    auto unknownSpeed = transfer("a.txt");
    unknownSpeed.speed.reset();
    EXPECT_EQ(progressLine(unknownSpeed, 200), "42% up a.txt  3/12 files, 5.0 MiB of 20.0 MiB");
}

TEST(ProgressLine, FitsTheTerminalAndEscapesNames)
{
    EXPECT_EQ(progressLine(transfer("a\033[2Jb"), 200).find('\033'), std::string::npos);
    for (std::size_t columns : {1u, 10u, 40u, 80u, 120u}) {
        const auto line = progressLine(transfer(std::string(60, 'x') + "\xC3\xA9\xC3\xA9\xC3\xA9"), columns);
        EXPECT_LE(codePointCount(line), std::max<std::size_t>(columns - 1, 1));
        EXPECT_TRUE(isUtf8(line));
    }
}

TEST(ProgressLine, ListingCountsEntries)
{
    BXSyncProgressModel::Snapshot snapshot;
    EXPECT_EQ(progressLine(snapshot, 80), "");
    snapshot.stage = Stage::listing;
    snapshot.label = "work";
    snapshot.currentFiles = 7;
    snapshot.totalFiles = 9;
    EXPECT_EQ(progressLine(snapshot, 80), "work: listing 7/9");
}

TEST(ProgressLine, Figures)
{
    EXPECT_EQ(byteText(0), "0 B");
    EXPECT_EQ(byteText(1023), "1023 B");
    EXPECT_EQ(byteText(1024), "1.0 KiB");
    EXPECT_EQ(byteText(1048575), "1023.9 KiB");
    EXPECT_EQ(durationText(0), "0:00");
    EXPECT_EQ(durationText(61), "1:01");
    EXPECT_EQ(durationText(36000), "10:00:00");
}

} // namespace
} // namespace tidemark::cli
