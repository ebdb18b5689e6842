#include "app/BXSyncProgressModel.h"

#include <iterator>
#include <sstream>

#include <gtest/gtest.h>

#include "tests/support/ManualClock.h"

namespace tidemark {
namespace {

using namespace std::chrono_literals;

struct FixedMeter : BXSyncTransferMeter
{
    std::int64_t sentSize() const override { return sent; }
    std::int64_t transSize() const override { return trans; }
    std::int64_t sent = 0;
    std::int64_t trans = 0;
};

struct BXSyncProgressModelTest : ::testing::Test
{
    BXSyncProgressModelTest()
    {
        model.setConnectCount(1);
        model.setTransferMeter(&meter);
    }
    void beginTransfer(const std::string& source, std::int64_t size)
    {
        model.setFileName(source, "/destination", size);
        model.setThread(nullptr);
    }

    testing::ManualClock clock;
    FixedMeter meter;
    BXSyncProgressModel model{clock};
};

TEST_F(BXSyncProgressModelTest, ListingFillsTheFirstFifthOfTheBar)
{
    model.setConnectCount(2);
    model.setFinishConnectCount(1);
    model.setTotalFiles(0, 0, 0, true);
    model.addListUpFiles(4);
    EXPECT_DOUBLE_EQ(model.snapshot().fileProgress, 0);
    model.setListUpFiles();
    model.setListUpFiles();
    EXPECT_DOUBLE_EQ(model.snapshot().fileProgress, 0.1);
    EXPECT_DOUBLE_EQ(model.snapshot().overallProgress, 0.55);
}

TEST_F(BXSyncProgressModelTest, TransfersFillTheRestByBytes)
{
    model.setTotalFiles(2, 0, 1000, true);
    EXPECT_DOUBLE_EQ(model.snapshot().fileProgress, 0);
    beginTransfer("/local/a", 600);
    meter.sent = 300;
    EXPECT_DOUBLE_EQ(model.snapshot().fileProgress, 0.2 + 0.8 * 0.3);
    model.finish();
    EXPECT_DOUBLE_EQ(model.snapshot().fileProgress, 0.2 + 0.8 * 0.6) << "a finished file counts once";
    meter.sent = 0;
    beginTransfer("/local/b", 400);
    EXPECT_DOUBLE_EQ(model.snapshot().fileProgress, 0.2 + 0.8 * 0.6);
    model.finish();
    EXPECT_DOUBLE_EQ(model.snapshot().fileProgress, 1);
}

TEST_F(BXSyncProgressModelTest, RunWithoutFilesFillsTheBar)
{
    model.setTotalFiles(0, 0, 0, true);
    EXPECT_DOUBLE_EQ(model.snapshot().fileProgress, 1);
}

TEST_F(BXSyncProgressModelTest, RunOfDeletionsAdvancesEvenly)
{
    model.setTotalFiles(4, 4, 0, true);
    for (int i = 1; i <= 4; ++i) {
        model.setDeleteFileName("/local/gone");
        EXPECT_DOUBLE_EQ(model.snapshot().fileProgress, 0.2 + 0.8 * i / 4);
        EXPECT_EQ(model.snapshot().currentDeletedFiles, i);
    }
    EXPECT_EQ(BXSyncProgressModel::texts(model.snapshot()).remainingTime, "");
    EXPECT_EQ(BXSyncProgressModel::texts(model.snapshot()).size, "");
}

TEST_F(BXSyncProgressModelTest, RunOfEmptyFilesHasOneUnit)
{
    model.setTotalFiles(2, 0, 0, true);
    beginTransfer("http://h/a", 0);
    EXPECT_DOUBLE_EQ(model.snapshot().fileProgress, 0.2);
    EXPECT_EQ(model.snapshot().totalBytes, 1u);
}

TEST_F(BXSyncProgressModelTest, SpeedCountsWhatTheCommandMovedAndWhatIsDone)
{
    model.setTotalFiles(2, 0, 100'000, true);
    beginTransfer("/local/a", 40'000);
    EXPECT_FALSE(model.snapshot().speed) << "in the first instant";
    EXPECT_EQ(model.snapshot().remainingSeconds, 0u);

    clock.advance(10s);
    meter.sent = meter.trans = 20'000;
    EXPECT_EQ(model.snapshot().speed, 2'000u);
    EXPECT_EQ(model.snapshot().remainingSeconds, 40u);

    clock.advance(10s);
    model.finish();
    meter.sent = 15'000; // resumed after 10,000 bytes
    meter.trans = 5'000;
    beginTransfer("http://h/b", 60'000);
    clock.advance(10s);
    EXPECT_EQ(model.snapshot().speed, 1'500u);
    EXPECT_EQ(model.snapshot().remainingSeconds, 30u);
}

TEST_F(BXSyncProgressModelTest, SpeedOfLessThanAByteIsNone)
{
    model.setTotalFiles(1, 0, 10, true);
    beginTransfer("/local/a", 10);
    clock.advance(100s);
    meter.sent = meter.trans = 9;
    EXPECT_FALSE(model.snapshot().speed);
}

TEST_F(BXSyncProgressModelTest, RestoredFileAddsToTheWork)
{
    model.setTotalFiles(1, 1, 0, true);
    model.addTotalFileSize(3000);
    beginTransfer("http://h/back", 3000);
    meter.sent = 1000;
    EXPECT_DOUBLE_EQ(model.snapshot().fileProgress, 0.2 + 0.8 * 0.25);
}

TEST_F(BXSyncProgressModelTest, NextRunOfASequenceStartsOver)
{
    model.setTotalFiles(1, 0, 100, true);
    beginTransfer("/local/a", 100);
    model.finish();
    model.setFinishConnectCount(1);
    model.setTotalFiles(1, 0, 100, true);
    beginTransfer("/local/b", 100);
    EXPECT_DOUBLE_EQ(model.snapshot().fileProgress, 0.2);
}

TEST_F(BXSyncProgressModelTest, CounterNamesTheItemAndItsDirection)
{
    model.setTotalFiles(3, 1, 10, true);
    beginTransfer("/local/folder/a.txt", 5);
    EXPECT_EQ(BXSyncProgressModel::texts(model.snapshot()).counter, "a.txt(1/3)");
    EXPECT_EQ(model.snapshot().operationKey, "PROCESSING_UPLOAD");
    beginTransfer("http://h/folder/b.txt", 5);
    EXPECT_EQ(BXSyncProgressModel::texts(model.snapshot()).counter, "b.txt(2/3)");
    EXPECT_EQ(model.snapshot().operationKey, "PROCESSING_DOWNLOAD");
    model.setDeleteFileName("/folder/c.txt");
    EXPECT_EQ(model.snapshot().operationKey, "PROCESSING_DELETE");
}

TEST(BXSyncProgressTexts, BytesAreGroupedByThousands)
{
    EXPECT_EQ(BXSyncProgressModel::bytesFormat(0), "0");
    EXPECT_EQ(BXSyncProgressModel::bytesFormat(999), "999");
    EXPECT_EQ(BXSyncProgressModel::bytesFormat(1000), "1,000");
    EXPECT_EQ(BXSyncProgressModel::bytesFormat(18446744073709551615u), "18,446,744,073,709,551,615");
}

TEST(BXSyncProgressTexts, RemainingTimeNamesHoursAndMinutesOnlyWhereThereAreSome)
{
    const auto numbers = [](std::uint64_t seconds) {
        std::string digits;
        for (char c : BXSyncProgressModel::remainingTimeText(seconds))
            digits += c >= '0' && c <= '9' ? c : ' ';
        std::istringstream words(digits);
        return std::vector<int>(std::istream_iterator<int>(words), {});
    };
    EXPECT_EQ(numbers(0), (std::vector{0}));
    EXPECT_EQ(numbers(60), (std::vector{60}));
    EXPECT_EQ(numbers(61), (std::vector{1, 1}));
    EXPECT_EQ(numbers(3600), (std::vector{1, 0, 0}));
    EXPECT_EQ(numbers(3661), (std::vector{1, 1, 1}));
}

TEST_F(BXSyncProgressModelTest, CancelLeavesItsMarkAndReachesTheRun)
{
    bool reached = false;
    model.setCancelHandler([&] { reached = true; });
    model.cancelSync();
    EXPECT_TRUE(reached);
    EXPECT_TRUE(model.canceled());
    model.resetWindow();
    EXPECT_FALSE(model.canceled());
}

} // namespace
} // namespace tidemark
