#include "app/LogFiles.h"

#include <fstream>

#include <gtest/gtest.h>

#include "platform/FileSystem.h"
#include "tests/support/TempTree.h"

namespace tidemark {
namespace {

std::string logLine(int number)
{
    return "2026/11/15 10:20:30.123 (77) INFO  [app/X(12) run] message " + std::to_string(number) + "\n";
}

struct LogFilesTest : ::testing::Test
{
    void append(const std::string& text) { std::ofstream(path, std::ios::app | std::ios::binary) << text; }
    static std::string joined(const LogFileReader::Piece& piece)
    {
        std::string text;
        for (const auto& line : piece.lines)
            text += line.message + "\n";
        return text;
    }

    test::TempTree tree;
    const std::string path = fs::joinPath(tree.root(), "a.log");
};

TEST_F(LogFilesTest, LinesAreTakenApart)
{
    const auto line =
        LogLine::parse("2026/11/15 10:20:30.123 (77) WARN  [SyncLibrary/X(12) operator()] a [b] (c) ERROR [d] e");
    EXPECT_EQ(line.time, "2026/11/15 10:20:30.123");
    EXPECT_EQ(line.level, LogLevel::warning);
    EXPECT_EQ(line.place, "SyncLibrary/X(12) operator()");
    EXPECT_EQ(line.message, "a [b] (c) ERROR [d] e");

    for (const char* strange : {"", "plain", "2026/11/15 10:20:30.123", "2026/11/15 10:20:30.123 (7) INFO",
                                "2026/11/15 10:20:30.123 (7) INFO  [unclosed"}) {
        EXPECT_EQ(LogLine::parse(strange).message, strange);
        EXPECT_FALSE(LogLine::parse(strange).level) << strange;
    }
}

TEST_F(LogFilesTest, FollowsWholeLinesAndNoticesAnotherFile)
{
    LogFileReader reader(path);
    EXPECT_TRUE(reader.forward().lines.empty());
    append("one\ntw");
    EXPECT_EQ(joined(reader.forward()), "one\n");
    append("o\nthree\n");
    EXPECT_EQ(joined(reader.forward()), "two\nthree\n");
    EXPECT_TRUE(reader.forward().lines.empty());

    fs::replaceFile(path, "new\n");
    const auto piece = reader.forward();
    EXPECT_TRUE(piece.restarted);
    EXPECT_EQ(joined(piece), "new\n");
}

TEST_F(LogFilesTest, LongFileIsReadFromItsEndInPieces)
{
    std::string all;
    for (int i = 0; i < 500; ++i)
        all += logLine(i);
    append(all);
    LogFileReader reader(path, 4096);

    auto piece = reader.forward();
    ASSERT_FALSE(piece.lines.empty());
    EXPECT_LT(piece.lines.size(), 100u);
    EXPECT_EQ(piece.lines.back().message, "message 499");
    std::vector<LogLine> lines = piece.lines;
    for (int looks = 0; reader.hasEarlier() && looks < 100; ++looks) {
        piece = reader.backward();
        lines.insert(lines.begin(), piece.lines.begin(), piece.lines.end());
    }
    ASSERT_EQ(lines.size(), 500u);
    for (int i = 0; i < 500; ++i)
        EXPECT_EQ(lines[static_cast<std::size_t>(i)].message, "message " + std::to_string(i));

    // More than a piece at once, and a line longer than any piece.
    append(all + std::string(10000, 'x') + "\nend\n");
    std::size_t added = 0;
    std::string last;
    for (int looks = 0; looks < 100; ++looks) {
        piece = reader.forward();
        added += piece.lines.size();
        if (!piece.lines.empty()) last = piece.lines.back().message;
        if (!piece.more) break;
    }
    EXPECT_GE(added, 502u);
    EXPECT_EQ(last, "end");
}

} // namespace
} // namespace tidemark
